#ifndef NDEFRECORDTYPE_H
#define NDEFRECORDTYPE_H

#include <QByteArray>

// The type of an NDEF record: its type name format (TNF, three bits of the record header) and its
// type name. Two types are equal when both the TNF and the name are equal, byte for byte.
class NDEFRecordType
{
public:
    enum TypeNameFormat {
        Empty = 0,
        WellKnown = 1,
        MimeMedia = 2,
        AbsoluteUri = 3,
        External = 4,
        Unknown = 5,
        Unchanged = 6,
        Reserved = 7
    };

    NDEFRecordType(int tnf = 0, const QByteArray& name = QByteArray());

    int getTNF() const { return m_tnf; }
    QByteArray getName() const { return m_name; }

    bool operator==(const NDEFRecordType& other) const;
    bool operator!=(const NDEFRecordType& other) const { return !(*this == other); }

    // The well-known types the library gives their own record classes.
    static const NDEFRecordType Text;        // TNF 1, "T"
    static const NDEFRecordType URI;         // TNF 1, "U"
    static const NDEFRecordType SmartPoster; // TNF 1, "Sp"

private:
    int m_tnf;
    QByteArray m_name;
};

#endif
