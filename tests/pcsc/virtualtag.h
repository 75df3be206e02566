#ifndef NFCUI_VIRTUALTAG_H
#define NFCUI_VIRTUALTAG_H

#include <QByteArray>
#include <QJsonObject>
#include <QProcess>
#include <QStringList>

#include <memory>

// A tag on one of PrivatePcscd's virtual readers: the card emulation tests/mocks/pcsc_tag.py, run by
// Debian's python3, connected to the reader's port. Putting it on connects it, taking it off disconnects.
class VirtualTag
{
public:
    explicit VirtualTag(const QJsonObject& card);
    ~VirtualTag();

    // A Type 2 tag (a MIFARE Ultralight / NTAG ATR) holding the memory image.
    static QJsonObject type2(const QByteArray& memory, const QByteArray& uid);
    // A Type 4 tag holding the capability container and NDEF file (E104 unless given).
    static QJsonObject type4(const QByteArray& capabilityContainer, const QByteArray& ndefFile, const QByteArray& uid,
                             quint16 ndefFileId = 0xE104);

    // Puts the tag on the reader listening on port. False with the reason when it could not.
    bool putOn(int port, QString* error);
    // Takes the tag off and waits until it is off.
    bool takeOff();
    // Puts it back on the same reader.
    bool putBack();

    // The APDUs the tag answered so far ("> command < response", in hex).
    QStringList apdus();

private:
    bool waitFor(const QString& line);

    QJsonObject m_card;
    std::unique_ptr<QProcess> m_process;
    QStringList m_lines;
    int m_seen = 0;
};

#endif
