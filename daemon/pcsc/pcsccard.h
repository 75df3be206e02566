#ifndef NFCUI_PCSCCARD_H
#define NFCUI_PCSCCARD_H

#include "apdutransport.h"

#include <QString>

#include <atomic>

#include <winscard.h>

// A card connected through pcscd (shared, T=0 or T=1): the APDU transport the tag readers use in the
// daemon. Disconnects, leaving the card as it is, when destroyed. Once *stopping is set (the reader's
// thread is asked to end), commands fail without reaching the card, so a read in progress ends at once.
class PcscCard : public ApduTransport
{
public:
    PcscCard(SCARDHANDLE handle, DWORD protocol, const QString& readerName,
             const std::atomic<bool>* stopping = nullptr);
    ~PcscCard() override;
    PcscCard(const PcscCard&) = delete;
    PcscCard& operator=(const PcscCard&) = delete;

    bool transmit(const QByteArray& command, QByteArray* response, QString* error) override;

private:
    SCARDHANDLE m_handle;
    DWORD m_protocol;
    QString m_readerName;
    const std::atomic<bool>* m_stopping;
};

// pcsc-lite's text for a return code, with the code ("Card was removed. (0x80100069)").
QString pcscErrorText(LONG code);

#endif
