#ifndef NFCUI_SERVICEPAUSE_H
#define NFCUI_SERVICEPAUSE_H

#include <QDeadlineTimer>
#include <QLoggingCategory>
#include <QMutex>
#include <QPointer>

class QDBusError;

// A service that let a blocking question run out its time budget (BusDeadline) is taken as hung for one
// more budget's time: the questions asked of it meanwhile are answered as if it were missing, without a
// call. A flow that asks several questions in a row (the devices, then each device's audio; the offline
// mode, then a message per recipient) is then held up by a hung service once, not once per question.
// Once the pause is over, or as soon as another process takes the service's bus name (it was restarted),
// the service is asked as usual. One object per service, shared by its callers on any thread.
class ServicePause
{
public:
    // service names the service in the log of category; busName is its name on the system bus.
    ServicePause(const char* service, const char* busName, const QLoggingCategory& (*category)());

    ServicePause(const ServicePause&) = delete;
    ServicePause& operator=(const ServicePause&) = delete;

    // Whether questions are answered without asking the service now (logged as debug output, with
    // the question).
    bool skips(const char* question) const;
    // Starts the pause when error is the question's call running out of the time of deadline.
    void noteFailure(const char* question, const QDBusError& error, const QDeadlineTimer& deadline);

private:
    void end();

    const char* m_service;
    const char* m_busName;
    const QLoggingCategory& (*m_category)();
    mutable QMutex m_mutex;
    QDeadlineTimer m_until;
    // Follows the bus name from the first pause on; made in the application's thread, owned by the
    // application.
    QPointer<QObject> m_watcher;
};

#endif
