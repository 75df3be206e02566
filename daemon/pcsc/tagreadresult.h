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

    // The three ends of a read; each sets the outcome together with what goes with it, so that no
    // reader leaves a stale reason behind a message or a message behind a reason.
    void setRead(const QByteArray& message)
    {
        outcome = Read;
        ndef = message;
        reason.clear();
    }
    void setNotNdef(const QString& why)
    {
        outcome = NotNdef;
        reason = why;
    }
    void setFailed(const QString& why)
    {
        outcome = Failed;
        reason = why;
    }
};

#endif
