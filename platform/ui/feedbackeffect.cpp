#include "feedbackeffect.h"
#include "uiindications.h"

namespace ConnUi {

void FeedbackEffect::play(const QString& name)
{
    UiIndications::indicate(QStringLiteral("feedback"), name);
}

} // namespace ConnUi
