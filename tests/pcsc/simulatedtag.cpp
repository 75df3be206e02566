#include "simulatedtag.h"

#include <QSet>

namespace {

QByteArray status(quint16 sw)
{
    QByteArray bytes;
    bytes.append(char(sw >> 8));
    bytes.append(char(sw & 0xFF));
    return bytes;
}

} // namespace

bool eachByteReadOnce(const QList<QPair<int, int>>& reads)
{
    QSet<int> seen;
    for (const auto& range : reads) {
        for (int i = range.first; i < range.second; ++i) {
            if (seen.contains(i))
                return false;
            seen.insert(i);
        }
    }
    return true;
}

bool SimulatedTag::transmit(const QByteArray& command, QByteArray* response, QString* error)
{
    if (removeAfter >= 0 && commands.size() >= removeAfter) {
        *error = QStringLiteral("Card was removed. (0x80100069)");
        return false;
    }
    commands.append(command);
    if (command == QByteArray::fromHex("FFCA000000")) {
        *response = uid.isEmpty() ? status(0x6A81) : uid + status(0x9000);
        return true;
    }
    *response = answer(command);
    return true;
}

SimulatedType2Tag::SimulatedType2Tag(const QByteArray& memory) : memory(memory)
{
}

QByteArray SimulatedType2Tag::answer(const QByteArray& command)
{
    if (command.size() != 5 || quint8(command.at(0)) != 0xFF || quint8(command.at(1)) != 0xB0)
        return status(0x6A81);
    if (readError)
        return status(readError);
    const int page = (quint8(command.at(2)) << 8) | quint8(command.at(3));
    const int length = quint8(command.at(4)) == 0 ? 256 : quint8(command.at(4));
    const int from = page * 4;
    if (length > 16 || from + length > memory.size())
        return status(0x6300);
    reads.append(qMakePair(from, from + length));
    return memory.mid(from, length) + status(0x9000);
}

SimulatedType4Tag::SimulatedType4Tag(const QByteArray& capabilityContainer, const QByteArray& ndefFile,
                                     quint16 ndefFileId)
{
    files.insert(0xE103, capabilityContainer);
    files.insert(ndefFileId, ndefFile);
}

QByteArray SimulatedType4Tag::answer(const QByteArray& command)
{
    if (command.size() < 4 || command.at(0) != 0)
        return status(0x6E00);
    const quint8 ins = quint8(command.at(1));
    const quint8 p1 = quint8(command.at(2));
    const quint8 p2 = quint8(command.at(3));
    if (ins == 0xA4) {
        if (command.size() < 5)
            return status(0x6700);
        const int lc = quint8(command.at(4));
        const QByteArray data = command.mid(5, lc);
        if (data.size() != lc)
            return status(0x6700);
        if (p1 == 0x04) {
            m_applicationSelected = false;
            m_selected = -1;
            if (!hasApplication || !data.startsWith(QByteArray::fromHex("D27600008501")) || data.size() != 7)
                return status(0x6A82);
            const int version = quint8(data.at(6)) == 0x01 ? 2 : quint8(data.at(6)) == 0x00 ? 1 : 0;
            if (!applicationVersions.contains(version))
                return status(0x6A82);
            m_applicationSelected = true;
            return status(0x9000);
        }
        if (p1 == 0x00 && data.size() == 2) {
            const quint16 id = quint16((quint8(data.at(0)) << 8) | quint8(data.at(1)));
            if (!m_applicationSelected || !files.contains(id))
                return status(0x6A82);
            m_selected = id;
            return status(0x9000);
        }
        return status(0x6A86);
    }
    if (ins == 0xB0) {
        if (command.size() != 5)
            return status(0x6700);
        if (m_selected < 0)
            return status(0x6986);
        if (readError)
            return status(readError);
        const QByteArray& file = files[quint16(m_selected)];
        const int offset = ((p1 & 0x7F) << 8) | p2;
        const int le = quint8(command.at(4)) == 0 ? 256 : quint8(command.at(4));
        largestLe = qMax(largestLe, le);
        if (offset >= file.size())
            return status(0x6B00);
        if (offset + le > file.size() && strictLengths)
            return status(0x6700);
        if (answerAtMost > 0 && answerAtMost < le && m_selected != 0xE103) {
            const QByteArray data = file.mid(offset, answerAtMost);
            reads[quint16(m_selected)].append(qMakePair(offset, offset + int(data.size())));
            return data + status(0x9000);
        }
        const QByteArray data = file.mid(offset, le);
        reads[quint16(m_selected)].append(qMakePair(offset, offset + int(data.size())));
        return data + status(data.size() < le ? 0x6282 : 0x9000);
    }
    return status(0x6D00);
}
