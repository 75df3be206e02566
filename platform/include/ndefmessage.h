#ifndef NDEFMESSAGE_H
#define NDEFMESSAGE_H

#include <QByteArray>
#include <QList>

#include <cstddef>

class NDEFMessageParser;
class NDEFRecord;

// A parsed NDEF message: its records in tag order, owned by the message.
//
// A message is one block of memory: the message, then its records and the arrays they return,
// which refer to the parsed bytes rather than copy them (see NDEFRecord). Its records must never
// be deleted on their own.
class NDEFMessage
{
public:
    ~NDEFMessage();

    // Parses a complete NDEF message. Returns null when the bytes are not a well-formed message;
    // the caller owns the result. Empty data is a message without records. The message shares the
    // bytes with the caller (they are not copied; a later change of the caller's array does not
    // reach them).
    static NDEFMessage* createFromData(const QByteArray& data);

    QList<const NDEFRecord*> getRecords() const;

    static void operator delete(void* block);

private:
    friend class NDEFMessageParser;
    friend class SmartPosterNDEFRecord;
    // The message followed by space for its records.
    struct Space
    {
        std::size_t bytes;
    };
    static void* operator new(std::size_t size, Space space);
    static void operator delete(void* block, Space space);
    NDEFMessage() = default;
    Q_DISABLE_COPY(NDEFMessage)

    // The bytes the records refer to; null for the nested message of a Smart Poster, whose bytes
    // belong to the enclosing record.
    QByteArray m_data;
    // The records, in the message's own block.
    const NDEFRecord* const* m_records = nullptr;
    int m_recordCount = 0;
};

#endif
