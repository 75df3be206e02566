#ifndef NFCUI_NOTESMOCK_H
#define NFCUI_NOTESMOCK_H

#include <QList>
#include <QMutex>
#include <QString>
#include <QStringList>
#include <QVector>
#include <QtGlobal>

#include <memory>

class MockService;
class QThread;

// The notes application on the test's private session bus: tests/mocks/notes.py run by Debian's
// python-dbusmock. It serves "openNote" on "com.orvan.Notes" and logs every call it gets.
class NotesMock
{
public:
    NotesMock();
    ~NotesMock(); // stops the mock if it runs

    // Starts the mock (unless it runs) and waits until it answers. False when it did not come up, with
    // the reason in lastError().
    bool start();
    // Stops the mock and waits until its bus name is gone.
    void stop();
    bool isRunning() const;
    QString lastError() const;

    // The argument of every "openNote" call the mock received, in order (empty when it cannot be asked).
    QList<QStringList> openNoteCalls() const;
    // Makes every later "openNote" call fail with that D-Bus error.
    bool setOpenNoteError(const QString& name, const QString& message);

private:
    Q_DISABLE_COPY(NotesMock)
    std::unique_ptr<MockService> m_service;
};

// Records every warning logged, from any thread, while it lives, and passes each one on to the
// handler that was installed before it (QTest's, so QTest::ignoreMessage still applies).
class NotesWarningLog
{
public:
    NotesWarningLog();
    ~NotesWarningLog();

    QStringList warnings() const;
    // The thread each warning was logged from, in the same order.
    QVector<QThread*> threads() const;

private:
    Q_DISABLE_COPY(NotesWarningLog)
    static void handler(QtMsgType type, const QMessageLogContext& context, const QString& message);
    static NotesWarningLog* s_current;
    QtMessageHandler m_previous;
    mutable QMutex m_mutex;
    QStringList m_warnings;
    QVector<QThread*> m_threads;
};

#endif
