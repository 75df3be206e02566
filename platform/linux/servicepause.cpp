#include "servicepause.h"
#include "busdeadline.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>
#include <QDBusServiceWatcher>
#include <QThread>
#include <QMutexLocker>

ServicePause::ServicePause(const char* service, const char* busName, const QLoggingCategory& (*category)())
    : m_service(service), m_busName(busName), m_category(category), m_until(0)
{
}

void ServicePause::end()
{
    QMutexLocker lock(&m_mutex);
    m_until = QDeadlineTimer(0);
}

bool ServicePause::skips(const char* question) const
{
    {
        QMutexLocker lock(&m_mutex);
        if (m_until.hasExpired())
            return false;
    }
    qCDebug(m_category, "%s: %s not asked; it did not answer a moment ago", m_service, question);
    return true;
}

void ServicePause::noteFailure(const char* question, const QDBusError& error, const QDeadlineTimer& deadline)
{
    // QtDBus's timeout is a coarse timer, which may fire up to 5% early.
    if (error.type() != QDBusError::NoReply || deadline.remainingTime() > BusDeadline::budgetMs / 10)
        return;
    qCWarning(m_category, "%s: %s got no answer within %d ms; %s is not asked again for %d ms", m_service, question,
              BusDeadline::budgetMs, m_service, BusDeadline::budgetMs);
    {
        QMutexLocker lock(&m_mutex);
        m_until = BusDeadline::start();
    }
    QCoreApplication* app = QCoreApplication::instance();
    if (!m_watcher && app && QThread::currentThread() == app->thread()) {
        auto* watcher = new QDBusServiceWatcher(QLatin1String(m_busName), QDBusConnection::systemBus(),
                                                QDBusServiceWatcher::WatchForOwnerChange, app);
        QObject::connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, watcher,
                         [this](const QString&, const QString&, const QString& newOwner) {
                             if (!newOwner.isEmpty())
                                 end();
                         });
        m_watcher = watcher;
    }
}
