#ifndef NDEFMESSAGEPARSER_P_H
#define NDEFMESSAGEPARSER_P_H

#include <QByteArray>

class NDEFMessage;

// Turns bytes into an NDEFMessage. Smart Poster records parse their payload with the same parser,
// one level deeper; nesting counts the Smart Poster payloads around the bytes being parsed.
//
// The whole message is checked before anything is made, so malformed bytes cost no allocation.
// The message is then made as one block holding the records, whose payloads are arrays over the
// checked bytes (only a chunked record gets a payload of its own, its chunks joined).
class NDEFMessageParser
{
public:
    // Smart Posters nested deeper than this are treated as holding no parsable message, so that
    // crafted data cannot make the parser recurse without bound.
    static constexpr int maxNesting = 8;

    // The message keeps a reference to data (a copy when data does not own its bytes).
    static NDEFMessage* parse(const QByteArray& data, int nesting);
    // The bytes must outlive the message: they belong to the Smart Poster record being read.
    static NDEFMessage* parse(const char* data, int size, int nesting);

private:
    static NDEFMessage* parse(const QByteArray& owner, const char* data, int size, int nesting);
};

#endif
