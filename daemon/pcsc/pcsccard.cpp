#include "pcsccard.h"

#include "apdu.h"
#include "pcsclogging.h"

#include <vector>

QString pcscErrorText(LONG code)
{
    return QStringLiteral("%1 (0x%2)")
        .arg(QString::fromUtf8(pcsc_stringify_error(code)))
        .arg(quint32(code), 8, 16, QLatin1Char('0'));
}

PcscCard::PcscCard(SCARDHANDLE handle, DWORD protocol, const QString& readerName, const std::atomic<bool>* stopping)
    : m_handle(handle), m_protocol(protocol), m_readerName(readerName), m_stopping(stopping)
{
}

PcscCard::~PcscCard()
{
    SCardDisconnect(m_handle, SCARD_LEAVE_CARD);
}

bool PcscCard::transmit(const QByteArray& command, QByteArray* response, QString* error)
{
    if (m_stopping && m_stopping->load()) {
        *error = QStringLiteral("the reader is being stopped");
        return false;
    }
    const SCARD_IO_REQUEST* pci = m_protocol == SCARD_PROTOCOL_T0 ? SCARD_PCI_T0 : SCARD_PCI_T1;
    std::vector<BYTE> buffer(MAX_BUFFER_SIZE_EXTENDED);
    DWORD length = DWORD(buffer.size());
    const LONG rv = SCardTransmit(m_handle, pci, reinterpret_cast<const BYTE*>(command.constData()),
                                  DWORD(command.size()), nullptr, buffer.data(), &length);
    if (rv != SCARD_S_SUCCESS) {
        qCDebug(lcPcsc).noquote()
            << QStringLiteral("%1: > %2 failed: %3").arg(m_readerName, Apdu::hex(command), pcscErrorText(rv));
        *error = pcscErrorText(rv);
        return false;
    }
    *response = QByteArray(reinterpret_cast<const char*>(buffer.data()), int(length));
    qCDebug(lcPcsc).noquote()
        << QStringLiteral("%1: > %2 < %3").arg(m_readerName, Apdu::hex(command), Apdu::hex(*response));
    return true;
}
