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

namespace {

// Whether a short command APDU ends with Le: CLA INS P1 P2 Le, or CLA INS P1 P2 Lc <Lc bytes> Le. One of
// CLA INS P1 P2 Lc <Lc bytes> ends with data instead.
bool endsWithLe(const QByteArray& command)
{
    if (command.size() == 5)
        return true;
    return command.size() > 5 && command.size() == 5 + quint8(command.at(4)) + 1;
}

bool transmitCounted(ApduTransport& transport, const QByteArray& command, const QString& what,
                     TagReadResult& result, QByteArray* response)
{
    if (result.apdus >= MaxApdusPerTag) {
        result.setFailed(QStringLiteral("%1: the tag has taken %2 commands; given up").arg(what).arg(MaxApdusPerTag));
        return false;
    }
    ++result.apdus;
    QString error;
    if (!transport.transmit(command, response, &error)) {
        result.setFailed(QStringLiteral("%1: %2").arg(what, error));
        return false;
    }
    return true;
}

} // namespace

bool exchange(ApduTransport& transport, const QByteArray& command, const QString& what, TagReadResult& result,
              QByteArray* response)
{
    if (!transmitCounted(transport, command, what, result, response))
        return false;
    const quint16 sw = statusWord(*response);
    if ((sw & 0xFF00) == 0x6C00 && endsWithLe(command)) {
        QByteArray retry = command;
        retry[retry.size() - 1] = char(sw & 0xFF);
        return transmitCounted(transport, retry, what, result, response);
    }
    return true;
}

} // namespace Apdu
