// Fake touch feedback: the effect is recorded and reported as an indication, as the Linux one does,
// without a feedback service or a sound.
#include "fakefeedback.h"
#include "feedbackeffect.h"
#include "uiindications.h"

#include <QMutex>
#include <QMutexLocker>

namespace {

QMutex playedMutex;

QStringList& playedEffects()
{
    static QStringList effects;
    return effects;
}

} // namespace

namespace FakeFeedback {

QStringList played()
{
    QMutexLocker locker(&playedMutex);
    return playedEffects();
}

void clear()
{
    QMutexLocker locker(&playedMutex);
    playedEffects().clear();
}

} // namespace FakeFeedback

namespace ConnUi {

void FeedbackEffect::play(const QString& name)
{
    {
        QMutexLocker locker(&playedMutex);
        playedEffects().append(name);
    }
    UiIndications::indicate(QStringLiteral("feedback"), name);
}

} // namespace ConnUi
