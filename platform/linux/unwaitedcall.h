#ifndef NFCUI_UNWAITEDCALL_H
#define NFCUI_UNWAITEDCALL_H

#include <QDBusError>
#include <QDBusPendingCall>
#include <QMutex>
#include <QSet>
#include <QString>

#include <functional>

// Calls whose answer nobody waits for (a banner, a wake-up of the screen): the caller goes on at once and
// only a failure is looked at, when its reply arrives. A service that is missing or hangs therefore never
// holds the dialog server up.
namespace UnwaitedCall {

// Runs onFailure with the error when call fails; a successful reply is dropped.
void onFailure(const QDBusPendingCall& call, std::function<void(const QDBusError&)> onFailure);

// The kinds of failure already reported, so that each kind is reported once for the life of the process:
// such calls come often, and a session without the service would otherwise fill the log.
class ReportedOnce
{
public:
    // True the first time errorName is given, false after.
    bool firstTime(const QString& errorName);

private:
    QMutex m_mutex;
    QSet<QString> m_reported;
};

} // namespace UnwaitedCall

#endif
