#include "notesmock.h"

#include <QDBusMessage>
#include <QMutexLocker>
#include <QThread>
#include <QVariant>

#include <cstdio>

#include "mockservice.h"

namespace {
const QString notesService = QStringLiteral("com.orvan.Notes");
const QString notesMockInterface = QStringLiteral("com.orvan.Notes.Mock");
} // namespace

NotesMock::NotesMock()
    : m_service(new MockService(MockService::projectTemplate(QStringLiteral("notes.py")), MockService::SessionBus,
                                notesService))
{
}

NotesMock::~NotesMock() = default;

bool NotesMock::start()
{
    return isRunning() || m_service->start();
}

void NotesMock::stop()
{
    m_service->stop();
}

bool NotesMock::isRunning() const
{
    return m_service->isRunning();
}

QString NotesMock::lastError() const
{
    return m_service->lastError();
}

QList<QStringList> NotesMock::openNoteCalls() const
{
    QList<QStringList> result;
    for (const MockCall& call : m_service->calls(QStringLiteral("/"))) {
        if (call.method == QLatin1String("openNote"))
            result.append(call.args.isEmpty() ? QStringList() : call.args.first().toStringList());
    }
    return result;
}

bool NotesMock::setOpenNoteError(const QString& name, const QString& message)
{
    return m_service->control(QStringLiteral("/"), notesMockInterface, QStringLiteral("SetOpenNoteError"),
                              {name, message});
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
