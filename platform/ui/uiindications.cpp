#include "uiindications.h"

namespace ConnUi {

UiIndications* UiIndications::instance()
{
    static UiIndications* const indications = new UiIndications;
    return indications;
}

void UiIndications::indicate(const QString& kind, const QString& detail)
{
    emit instance()->indication(kind, detail);
}

} // namespace ConnUi
