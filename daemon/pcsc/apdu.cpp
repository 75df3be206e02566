#include "apdu.h"

#include "apdutransport.h"
#include "tagreadresult.h"

namespace Apdu {

quint16 statusWord(const QByteArray& response)
{
    if (response.size() < 2)
        return 0;
    return quint16((quint8(response.at(response.size() - 2)) << 8) | quint8(response.at(response.size() - 1)));
}

QByteArray body(const QByteArray& response)
{
    return response.size() < 2 ? QByteArray() : response.left(response.size() - 2);
}

QByteArray readBinaryCommand(quint8 cla, quint16 address, int length)
{
    const char bytes[] = {char(cla), char(0xB0), char(address >> 8), char(address & 0xFF), char(length)};
    return QByteArray(bytes, int(sizeof bytes));
}

QString statusText(quint16 statusWord)
{
    return QStringLiteral("%1").arg(statusWord, 4, 16, QLatin1Char('0')).toUpper();
}

QString hex(const QByteArray& bytes)
{
    return QString::fromLatin1(bytes.toHex()).toUpper();
}

bool exchange(ApduTransport& transport, const QByteArray& command, const QString& what, TagReadResult& result,
              QByteArray* response)
{
    QString error;
    ++result.apdus;
    if (!transport.transmit(command, response, &error)) {
        result.setFailed(QStringLiteral("%1: %2").arg(what, error));
        return false;
    }
    const quint16 sw = statusWord(*response);
    if ((sw & 0xFF00) == 0x6C00 && command.size() >= 5) {
        QByteArray retry = command;
        retry[retry.size() - 1] = char(sw & 0xFF);
        ++result.apdus;
        if (!transport.transmit(retry, response, &error)) {
            result.setFailed(QStringLiteral("%1: %2").arg(what, error));
            return false;
        }
    }
    return true;
}

} // namespace Apdu
