#ifndef NFCUI_TAGREADRESULT_H
#define NFCUI_TAGREADRESULT_H

#include <QByteArray>
#include <QString>

// What reading one tag gave: its NDEF message, or why there is none.
struct TagReadResult
{
    enum Outcome {
        Read, // the tag holds an NDEF message (possibly empty) and it was read whole
        NotNdef, // the tag answered, but it holds no NDEF message this reader can read
        Failed, // the read broke off: the card answered an error, was removed, or lied about lengths
    };

    Outcome outcome = Failed;
    QByteArray uid; // from the reader's Get Data command; empty when the reader does not tell
    QByteArray ndef; // the NDEF message, when outcome is Read
    QString reason; // why, when outcome is NotNdef or Failed
    int apdus = 0; // command APDUs sent, including the one for the UID
};

#endif
