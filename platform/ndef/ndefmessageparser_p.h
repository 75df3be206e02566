#ifndef NDEFMESSAGEPARSER_P_H
#define NDEFMESSAGEPARSER_P_H

#include <QByteArray>

class NDEFMessage;
class NDEFRecord;
class NDEFRecordType;

// Turns bytes into an NDEFMessage. Smart Poster records parse their payload with the same parser,
// one level deeper; nesting counts the Smart Poster payloads around the bytes being parsed.
class NDEFMessageParser
{
public:
    // Smart Posters nested deeper than this are treated as holding no parsable message, so that
    // crafted data cannot make the parser recurse without bound.
    static constexpr int maxNesting = 8;

    static NDEFMessage* parse(const QByteArray& data, int nesting);

private:
    static NDEFRecord* createRecord(const NDEFRecordType& type, const QByteArray& id,
                                    const QByteArray& payload, int nesting);
};

#endif
