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
    // the caller owns the result. Empty data is a message without records.
    static NDEFMessage* createFromData(const QByteArray& data);

    QList<const NDEFRecord*> getRecords() const;

private:
    friend class NDEFMessageParser;
    NDEFMessage() = default;
    Q_DISABLE_COPY(NDEFMessage)

    QList<NDEFRecord*> m_records;
};

#endif
