#ifndef NDEFMESSAGE_H
#define NDEFMESSAGE_H

#include <QByteArray>
#include <QList>

class NDEFMessageParser;
class NDEFRecord;

// A parsed NDEF message: its records in tag order, owned by the message.
class NDEFMessage
{
public:
    ~NDEFMessage();

    // Parses a complete NDEF message. Returns null when the bytes are not a well-formed message;
    // the caller owns the result. Empty data is a message without records. The message shares the
    // bytes with the caller (they are not copied; a later change of the caller's array does not
    // reach them) and its records refer to them.
    static NDEFMessage* createFromData(const QByteArray& data);

    QList<const NDEFRecord*> getRecords() const { return m_records; }

private:
    friend class NDEFMessageParser;
    NDEFMessage() = default;
    Q_DISABLE_COPY(NDEFMessage)

    // The bytes the records refer to; null for the nested message of a Smart Poster, whose bytes
    // belong to the enclosing record.
    QByteArray m_data;
    QList<const NDEFRecord*> m_records;
};

#endif
