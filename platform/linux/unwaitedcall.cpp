#include "unwaitedcall.h"

#include <QDBusPendingCallWatcher>
#include <QMutexLocker>
#include <QObject>

namespace UnwaitedCall {

void onFailure(const QDBusPendingCall& call, std::function<void(const QDBusError&)> onFailure)
{
    auto* watcher = new QDBusPendingCallWatcher(call);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                     [onFailure = std::move(onFailure)](QDBusPendingCallWatcher* finished) {
                         if (finished->isError())
                             onFailure(finished->error());
                         finished->deleteLater();
                     });
}

bool ReportedOnce::firstTime(const QString& errorName)
{
    QMutexLocker locker(&m_mutex);
    if (m_reported.contains(errorName))
        return false;
    m_reported.insert(errorName);
    return true;
}

} // namespace UnwaitedCall
