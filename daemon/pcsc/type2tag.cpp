#include "type2tag.h"

#include "apdu.h"
#include "apdutransport.h"
#include "tagreadresult.h"

#include <utility>
#include <vector>

namespace {

constexpr int PageSize = 4;
constexpr int CapabilityPage = 3;
constexpr int DataAreaStart = 16;
constexpr int MaxReadSize = 16;

// The TLV types of the data area, valued by their type byte: 00 to 03 in this order, then FE.
enum TlvType : quint8 {
    NullTlv,
    LockControlTlv,
    MemoryControlTlv,
    NdefTlv,
    TerminatorTlv = 0xFE
};

// The tag's memory up to the end of the data area, fetched on demand. Each fetch reads from the page of
// the first byte still missing, as many bytes as the reader may give (16) without going past the data
// area, so no byte is read twice and reading stops as soon as the message is complete.
class TagMemory
{
public:
    TagMemory(ApduTransport& transport, TagReadResult& result) : m_transport(transport), m_result(result) { }

    // The first read: page 3 (the capability container) and the first data pages after it. A tag whose
    // memory ends before that refuses the whole read; page 3 is then read alone. False when it failed.
    bool readCapabilityContainer(QByteArray* capabilityContainer)
    {
        const QString what = QStringLiteral("reading the capability container");
        QByteArray response;
        if (!Apdu::exchange(m_transport, Type2Tag::readCommand(CapabilityPage, MaxReadSize), what, m_result, &response))
            return false;
        if (Apdu::statusWord(response) != Apdu::Success
            && !Apdu::exchange(m_transport, Type2Tag::readCommand(CapabilityPage, PageSize), what, m_result, &response))
            return false;
        QByteArray data;
        if (!checkAnswer(response, PageSize, what, &data))
            return false;
        *capabilityContainer = data.left(PageSize);
        m_firstData = data.mid(PageSize);
        return true;
    }

    void setEnd(int end)
    {
        m_end = end;
        m_bytes.assign(size_t(end), -1);
        for (int i = 0; i < m_firstData.size() && DataAreaStart + i < end; ++i)
            m_bytes[size_t(DataAreaStart + i)] = quint8(m_firstData.at(i));
    }

    int end() const { return m_end; }

    // Bytes set aside by Lock Control and Memory Control TLVs: they are skipped, never part of a TLV.
    // Kept sorted and merged, so that skipping and counting walk each range once.
    void reserve(int from, int size)
    {
        if (size <= 0 || from >= m_end || from + size <= DataAreaStart)
            return;
        std::pair<int, int> added(from, from + size);
        std::vector<std::pair<int, int>> merged;
        merged.reserve(m_reserved.size() + 1);
        bool placed = false;
        for (const auto& range : m_reserved) {
            if (!placed && added.first <= range.first) {
                merged.push_back(added);
                placed = true;
            }
            merged.push_back(range);
        }
        if (!placed)
            merged.push_back(added);
        m_reserved.clear();
        for (const auto& range : merged) {
            if (!m_reserved.empty() && range.first <= m_reserved.back().second)
                m_reserved.back().second = qMax(m_reserved.back().second, range.second);
            else
                m_reserved.push_back(range);
        }
    }

    // The first address at or after `address` that is not reserved.
    int skipReserved(int address) const
    {
        for (const auto& range : m_reserved) {
            if (address < range.first)
                break;
            if (address < range.second)
                address = range.second;
        }
        return address;
    }

    // How many bytes of the TLV stream are left from `address` to the end of the data area.
    int available(int address) const
    {
        if (address >= m_end)
            return 0;
        int count = m_end - address;
        for (const auto& range : m_reserved) {
            const int from = qMax(range.first, address);
            const int to = qMin(range.second, m_end);
            if (from < to)
                count -= to - from;
        }
        return count;
    }

    // The byte of the TLV stream at *address (after skipping reserved bytes); moves *address past it.
    // False when the data area ends first (reason set by the caller) or a read failed (result set).
    bool next(int* address, quint8* byte, bool* failed)
    {
        *failed = false;
        const int a = skipReserved(*address);
        if (a >= m_end)
            return false;
        if (m_bytes[size_t(a)] < 0 && !load(a)) {
            *failed = true;
            return false;
        }
        *byte = quint8(m_bytes[size_t(a)]);
        *address = a + 1;
        return true;
    }

private:
    bool load(int address)
    {
        const int page = address / PageSize;
        const int length = qMin(MaxReadSize, m_end - page * PageSize);
        QByteArray data;
        if (!fetch(page, length, QStringLiteral("reading page %1").arg(page), &data))
            return false;
        const int usable = qMin(length, int(data.size()) / PageSize * PageSize);
        for (int i = 0; i < usable; ++i)
            m_bytes[size_t(page * PageSize + i)] = quint8(data.at(i));
        if (usable <= address - page * PageSize) {
            m_result.setFailed(
                QStringLiteral("reading page %1: %2 bytes instead of %3").arg(page).arg(data.size()).arg(length));
            return false;
        }
        return true;
    }

    bool fetch(int page, int length, const QString& what, QByteArray* data)
    {
        QByteArray response;
        if (!Apdu::exchange(m_transport, Type2Tag::readCommand(page, length), what, m_result, &response))
            return false;
        return checkAnswer(response, length, what, data);
    }

    // The data of a page read's answer; false with the result set when the card answered an error or
    // less than a page.
    bool checkAnswer(const QByteArray& response, int length, const QString& what, QByteArray* data)
    {
        const quint16 sw = Apdu::statusWord(response);
        if (sw != Apdu::Success) {
            m_result.setFailed(QStringLiteral("%1: the card answered %2").arg(what, Apdu::statusText(sw)));
            return false;
        }
        *data = Apdu::body(response);
        if (data->size() < PageSize) {
            m_result.setFailed(QStringLiteral("%1: %2 bytes instead of %3").arg(what).arg(data->size()).arg(length));
            return false;
        }
        return true;
    }

    ApduTransport& m_transport;
    TagReadResult& m_result;
    QByteArray m_firstData;
    std::vector<int> m_bytes; // -1 while not read
    std::vector<std::pair<int, int>> m_reserved;
    int m_end = DataAreaStart;
};

// The byte address a Lock Control or Memory Control TLV points at: its position byte holds the page
// (high nibble) and the byte in it (low nibble), with pages of 2^n bytes, n from the low nibble of the
// third byte.
int controlAddress(quint8 position, quint8 pageSizeByte)
{
    return (position >> 4) * (1 << (pageSizeByte & 0x0F)) + (position & 0x0F);
}

} // namespace

namespace Type2Tag {

QByteArray readCommand(int page, int length)
{
    return Apdu::readBinaryCommand(0xFF, quint16(page), length);
}

void readNdef(ApduTransport& transport, TagReadResult& result)
{
    TagMemory memory(transport, result);
    QByteArray cc;
    if (!memory.readCapabilityContainer(&cc))
        return;

    const quint8 magic = quint8(cc.at(0));
    const quint8 version = quint8(cc.at(1));
    const quint8 size = quint8(cc.at(2));
    const quint8 access = quint8(cc.at(3));
    if (magic != 0xE1)
        return result.setNotNdef(QStringLiteral("the capability container is not NFC Forum (%1)").arg(Apdu::hex(cc)));
    if ((version >> 4) != 1) {
        return result.setNotNdef(QStringLiteral("the capability container has mapping version %1.%2, not 1.x")
                                     .arg(version >> 4)
                                     .arg(version & 0x0F));
    }
    if (size == 0)
        return result.setNotNdef(QStringLiteral("the capability container declares no data area"));
    if ((access >> 4) != 0)
        return result.setNotNdef(QStringLiteral("the capability container denies read access (%1)").arg(Apdu::hex(cc)));

    memory.setEnd(DataAreaStart + size * 8);
    int address = DataAreaStart;
    bool readFailed = false;
    // One byte of the TLV stream; false with a reason when the data area ends (inside the length or the
    // value of TLV `type`) or the read fails. The reason is only put into words when it is needed.
    auto nextByte = [&](quint8* byte, quint8 type, bool inLength) {
        if (memory.next(&address, byte, &readFailed))
            return true;
        if (!readFailed) {
            result.setFailed(QStringLiteral("the data area ends inside %1TLV %2")
                                 .arg(inLength ? QStringLiteral("the length of ") : QString(),
                                      Apdu::hex(QByteArray(1, char(type)))));
        }
        return false;
    };

    while (true) {
        quint8 type;
        if (!memory.next(&address, &type, &readFailed)) {
            if (!readFailed)
                result.setNotNdef(QStringLiteral("no NDEF TLV in the data area"));
            return;
        }
        if (type == NullTlv)
            continue;
        if (type == TerminatorTlv)
            return result.setNotNdef(QStringLiteral("no NDEF TLV before the Terminator TLV"));

        quint8 first;
        if (!nextByte(&first, type, true))
            return;
        int length = first;
        if (first == 0xFF) {
            quint8 high, low;
            if (!nextByte(&high, type, true) || !nextByte(&low, type, true))
                return;
            length = (high << 8) | low;
        }

        const int available = memory.available(address);
        if (length > available) {
            return result.setFailed(QStringLiteral("TLV %1 claims %2 bytes, the data area has %3 left")
                                        .arg(Apdu::hex(QByteArray(1, char(type))))
                                        .arg(length)
                                        .arg(available));
        }

        QByteArray value;
        value.reserve(type == NdefTlv || type == LockControlTlv || type == MemoryControlTlv ? length : 0);
        for (int i = 0; i < length; ++i) {
            quint8 byte;
            if (type == NdefTlv || ((type == LockControlTlv || type == MemoryControlTlv) && i < 3)) {
                if (!nextByte(&byte, type, false))
                    return;
                value.append(char(byte));
            } else {
                // Skipped without reading: move past the byte, fetching nothing.
                address = memory.skipReserved(address) + 1;
            }
        }

        if (type == NdefTlv) {
            result.setRead(value);
            return;
        }
        if (value.size() == 3) {
            const quint8 position = quint8(value.at(0));
            const quint8 sizeByte = quint8(value.at(1));
            const quint8 pageSizeByte = quint8(value.at(2));
            const int from = controlAddress(position, pageSizeByte);
            if (type == LockControlTlv)
                memory.reserve(from, ((sizeByte == 0 ? 256 : sizeByte) + 7) / 8);
            else
                memory.reserve(from, sizeByte == 0 ? 256 : sizeByte);
        }
    }
}

} // namespace Type2Tag
