#ifndef NFCUI_TAGTYPE_H
#define NFCUI_TAGTYPE_H

#include <QByteArray>
#include <QString>

// Which kind of tag a card in a PC/SC reader is, told by its ATR.
//
// Contactless readers make up an ATR for every card. A memory card (MIFARE Ultralight, NTAG, MIFARE
// Classic, ...) gets the storage-card ATR: historical bytes 80 4F 0C, the registered application
// provider A0 00 00 03 06, a byte for the standard the card follows and two bytes naming the card. A
// card that speaks ISO 14443-4 gets its own historical bytes (from the ATS) instead.
struct TagType
{
    enum Kind {
        Type2, // ISO 14443A part 3 memory tag read by pages: MIFARE Ultralight, NTAG, my-d NFC
        Type4, // ISO 14443-4 card: ISO 7816 commands, the NDEF application
        Unsupported // a memory card that is not an NFC Forum Type 2 tag (MIFARE Classic, ISO 15693, ...)
    };

    Kind kind = Type4;
    QString name; // what the ATR names the card, for logs ("MIFARE Ultralight", "ISO 14443-4 card")

    static TagType fromAtr(const QByteArray& atr);
};

#endif
