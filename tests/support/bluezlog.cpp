#include "bluezlog.h"

#include <QMutex>
#include <QMutexLocker>

namespace {
QMutex logMutex;
QStringList* collected = nullptr;
QtMessageHandler previousHandler = nullptr;
} // namespace

BluezWarningLog::BluezWarningLog()
{
    QMutexLocker locker(&logMutex);
    collected = new QStringList;
    m_previous = qInstallMessageHandler(&BluezWarningLog::handler);
    previousHandler = m_previous;
}

BluezWarningLog::~BluezWarningLog()
{
    qInstallMessageHandler(m_previous);
    QMutexLocker locker(&logMutex);
    delete collected;
    collected = nullptr;
    previousHandler = nullptr;
}

QStringList BluezWarningLog::warnings() const
{
    QMutexLocker locker(&logMutex);
    return collected ? *collected : QStringList();
}

void BluezWarningLog::clear()
{
    QMutexLocker locker(&logMutex);
    if (collected)
        collected->clear();
}

void BluezWarningLog::handler(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    QtMessageHandler forward = nullptr;
    {
        QMutexLocker locker(&logMutex);
        if (type == QtWarningMsg && collected)
            collected->append(message);
        forward = previousHandler;
    }
    if (forward)
        forward(type, context, message);
}
