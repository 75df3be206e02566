#ifndef NFCUI_APDUTRANSPORT_H
#define NFCUI_APDUTRANSPORT_H

#include <QByteArray>
#include <QString>

// Carries command APDUs to a card and brings its answers back: a card in a PC/SC reader in the daemon,
// a scripted or simulated tag in tests and fuzzing. The tag readers only ever talk through this.
class ApduTransport
{
public:
    virtual ~ApduTransport() = default;

    // Sends one command APDU. On success *response holds the card's answer with its status word (the
    // last two bytes). False when the command did not reach the card or no answer came back (the card
    // was removed, the reader went away); *error then says why.
    virtual bool transmit(const QByteArray& command, QByteArray* response, QString* error) = 0;
};

#endif
