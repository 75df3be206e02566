#include "notesmock.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QElapsedTimer>
#include <QMutexLocker>
#include <QProcess>
#include <QThread>
#include <QVariant>

#include <cstdio>

namespace {
const char notesService[] = "com.orvan.Notes";
const char mockInterface[] = "org.freedesktop.DBus.Mock";
const char notesMockInterface[] = "com.orvan.Notes.Mock";
const int startTimeoutMs = 15000;
const int stopTimeoutMs = 5000;

bool serviceRegistered()
{
    QDBusConnectionInterface* bus = QDBusConnection::sessionBus().interface();
    return bus && bus->isServiceRegistered(QLatin1String(notesService)).value();
}

QStringList toStringList(const QVariant& value)
{
    if (value.userType() == qMetaTypeId<QDBusArgument>()) {
        QStringList list;
        value.value<QDBusArgument>() >> list;
        return list;
    }
    if (value.userType() == qMetaTypeId<QDBusVariant>())
        return toStringList(value.value<QDBusVariant>().variant());
    return value.toStringList();
}
} // namespace

NotesMock::NotesMock()
    : m_process(nullptr)
{
}

NotesMock::~NotesMock()
{
    stop();
}

bool NotesMock::start()
{
    if (isRunning())
        return true;
    m_process = new QProcess;
    m_process->setStandardOutputFile(QProcess::nullDevice());
    m_process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    // Debian's interpreter, where python-dbusmock is installed; not whatever python3 comes first on PATH.
    m_process->start(QStringLiteral("/usr/bin/python3"),
                     {QStringLiteral("-m"), QStringLiteral("dbusmock"), QStringLiteral("--template"),
                      QStringLiteral(NFCUI_MOCKS_DIR "/notes.py")});
    if (!m_process->waitForStarted(startTimeoutMs)) {
        stop();
        return false;
    }
    QElapsedTimer timer;
    timer.start();
    while (!serviceRegistered()) {
        if (m_process->state() != QProcess::Running || timer.elapsed() > startTimeoutMs) {
            stop();
            return false;
        }
        QThread::msleep(20);
    }
    return true;
}

void NotesMock::stop()
{
    if (!m_process)
        return;
    if (m_process->state() != QProcess::NotRunning) {
        m_process->terminate();
        if (!m_process->waitForFinished(stopTimeoutMs)) {
            m_process->kill();
            m_process->waitForFinished(stopTimeoutMs);
        }
    }
    delete m_process;
    m_process = nullptr;
    QElapsedTimer timer;
    timer.start();
    while (serviceRegistered() && timer.elapsed() < stopTimeoutMs)
        QThread::msleep(20);
}

bool NotesMock::isRunning() const
{
    return m_process && m_process->state() == QProcess::Running;
}

// GetCalls answers a(tsav): a time stamp, the method name and its arguments, per call.
QList<QStringList> NotesMock::openNoteCalls() const
{
    QList<QStringList> result;
    const QDBusMessage reply = QDBusConnection::sessionBus().call(QDBusMessage::createMethodCall(
        QLatin1String(notesService), QStringLiteral("/"), QLatin1String(mockInterface), QStringLiteral("GetCalls")));
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return result;
    const QDBusArgument calls = reply.arguments().first().value<QDBusArgument>();
    calls.beginArray();
    while (!calls.atEnd()) {
        quint64 timestamp = 0;
        QString method;
        QVariantList args;
        calls.beginStructure();
        calls >> timestamp >> method >> args;
        calls.endStructure();
        if (method == QLatin1String("openNote"))
            result.append(args.isEmpty() ? QStringList() : toStringList(args.first()));
    }
    calls.endArray();
    return result;
}

bool NotesMock::setOpenNoteError(const QString& name, const QString& message)
{
    QDBusMessage call = QDBusMessage::createMethodCall(QLatin1String(notesService), QStringLiteral("/"),
                                                       QLatin1String(notesMockInterface),
                                                       QStringLiteral("SetOpenNoteError"));
    call << name << message;
    return QDBusConnection::sessionBus().call(call).type() == QDBusMessage::ReplyMessage;
}

NotesWarningLog* NotesWarningLog::s_current = nullptr;

NotesWarningLog::NotesWarningLog()
    : m_previous(nullptr)
{
    s_current = this;
    m_previous = qInstallMessageHandler(&NotesWarningLog::handler);
}

NotesWarningLog::~NotesWarningLog()
{
    qInstallMessageHandler(m_previous);
    s_current = nullptr;
}

QStringList NotesWarningLog::warnings() const
{
    QMutexLocker locker(&m_mutex);
    return m_warnings;
}

QVector<QThread*> NotesWarningLog::threads() const
{
    QMutexLocker locker(&m_mutex);
    return m_threads;
}

void NotesWarningLog::handler(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    NotesWarningLog* log = s_current;
    if (!log)
        return;
    if (type == QtWarningMsg) {
        QMutexLocker locker(&log->m_mutex);
        log->m_warnings.append(message);
        log->m_threads.append(QThread::currentThread());
    }
    if (log->m_previous) {
        log->m_previous(type, context, message);
    } else {
        fprintf(stderr, "%s\n", qPrintable(qFormatLogMessage(type, context, message)));
    }
}
