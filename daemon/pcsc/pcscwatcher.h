#ifndef NFCUI_PCSCWATCHER_H
#define NFCUI_PCSCWATCHER_H

#include <QByteArray>
#include <QElapsedTimer>
#include <QHash>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QWaitCondition>

#include <atomic>
#include <vector>

#include <winscard.h>

struct TagReadResult;

// The blocking half of the PC/SC tag source: run() lives in a thread of its own and waits in
// SCardGetStatusChange for readers and cards, reads each tag once per presence, and reports through
// signals, which reach the source's thread queued. It connects to pcscd when pcscd appears, and again
// after pcscd restarts.
class PcscWatcher : public QObject
{
    Q_OBJECT
public:
    explicit PcscWatcher(QObject* parent = nullptr);
    ~PcscWatcher() override;

    // Makes run() return soon; callable from any thread.
    void stop();

public Q_SLOTS:
    // Watches until stop(); emits finished() at the end.
    void run();

Q_SIGNALS:
    void tagRead(const QByteArray& uid, const QByteArray& ndef);
    void tagUnreadable(const QByteArray& uid);
    void readersChanged(const QStringList& readers);
    void serviceChanged(bool connected);
    void finished();

private:
    struct Reader
    {
        QString name;
        QByteArray nameBytes;
        DWORD state = SCARD_STATE_UNAWARE; // what pcscd last told, given back as the current state
        bool handled = false; // the card now present was read (or given up on)
        DWORD handledEvents = 0; // pcscd's card event count at that read
        bool sharingLogged = false; // "held by another program" was logged for this presence
        QByteArray lastUid; // the UID of the card now present, once read
        QByteArray uidBeforeRestart; // the card that lay here when pcscd went away, until one is read
    };

    bool connectToService();
    void loseService(const QString& reason);
    bool refreshReaders();
    void watchOnce();
    void cardPresent(Reader& reader, DWORD eventState, const QByteArray& atr);
    void report(const Reader& reader, const TagReadResult& result);
    void sleep(int milliseconds);

    std::atomic<bool> m_stopping {false};
    QMutex m_mutex; // guards m_context against stop() and the sleeps
    QWaitCondition m_wake;
    SCARDCONTEXT m_context = 0;
    bool m_hasContext = false;
    bool m_waitingLogged = false;
    bool m_refresh = true;
    DWORD m_pnpState = SCARD_STATE_UNAWARE;
    std::vector<Reader> m_readers;
    QHash<QString, QByteArray> m_uidsBeforeRestart;
    QElapsedTimer m_connectedTimer; // since the last connection to pcscd
};

#endif
