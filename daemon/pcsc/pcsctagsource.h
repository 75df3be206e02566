#ifndef NFCUI_PCSCTAGSOURCE_H
#define NFCUI_PCSCTAGSOURCE_H

#include "tagsource.h"

#include <QStringList>

#include <memory>

class PcscTagSourcePrivate;

// Tags from every PC/SC reader pcscd knows, including readers plugged in later: NFC Forum Type 2 tags
// (NTAG21x, MIFARE Ultralight) and Type 4 tags. Each tag is read once while it stays on its reader and
// reported with tagRead(), or tagUnreadable() when it holds no NDEF message or its read broke off (one
// log line says why). The PC/SC calls block, so they run in a thread of the source's own; the signals
// arrive in the thread the source lives in.
//
// pcscd is found the way libpcsclite finds it (PCSCLITE_CSOCK_NAME, else its standard socket). When it
// is not there the source waits for it, and after pcscd restarts it connects again.
class PcscTagSource : public TagSource
{
    Q_OBJECT
public:
    explicit PcscTagSource(QObject* parent = nullptr);
    ~PcscTagSource() override;

    // Starts the watching thread; true, since the source waits for pcscd when pcscd is not there.
    bool start() override;

    // The readers watched now.
    QStringList readers() const;
    // Whether the source is connected to pcscd now.
    bool isConnected() const;

    // Whether pcscd answers now: the daemon reads PC/SC tags by default when it does.
    static bool serviceReachable();

Q_SIGNALS:
    void readersChanged(const QStringList& readers);
    void connectedChanged(bool connected);

private:
    std::unique_ptr<PcscTagSourcePrivate> d;
};

#endif
