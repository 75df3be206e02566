#ifndef NFCUI_PRIVATEPCSCD_H
#define NFCUI_PRIVATEPCSCD_H

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <memory>

// A pcscd of the test's own, with two virtual readers (vpcd slots) and nothing else: it runs in a mount
// namespace of its own, where its fixed /run/pcscd is a directory of the test and the USB drivers are
// hidden, so it never meets the machine's pcscd or readers. start() points this process's PC/SC clients
// at it (PCSCLITE_CSOCK_NAME). The readers listen on two free TCP ports, for virtual tags to connect to.
class PrivatePcscd
{
public:
    static constexpr int ReaderCount = 2;

    PrivatePcscd();
    ~PrivatePcscd();

    // Starts pcscd and waits until it lists its readers. False with the reason (a missing tool or
    // driver, or pcscd not coming up) otherwise. Starting again after stop() keeps the same readers.
    bool start(QString* error);
    // Stops pcscd (SIGTERM) and waits for it to end.
    void stop();

    // Waits until pcscd sees no card on any of its readers; false when one stays.
    bool waitUntilEmpty(int milliseconds);

    QString readerName(int slot) const;
    int port(int slot) const;
    // Where the clients find pcscd; it does not exist while pcscd is stopped.
    QString socketPath() const;
    // Everything pcscd wrote.
    QString log() const;

private:
    bool prepare(QString* error);

    QTemporaryDir m_dir;
    std::unique_ptr<QProcess> m_process;
    int m_port = 0;
    QString m_log;
};

#endif
