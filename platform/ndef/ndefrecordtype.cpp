#include "ndefrecordtype.h"

const NDEFRecordType NDEFRecordType::Text(NDEFRecordType::WellKnown, QByteArrayLiteral("T"));
const NDEFRecordType NDEFRecordType::URI(NDEFRecordType::WellKnown, QByteArrayLiteral("U"));
const NDEFRecordType NDEFRecordType::SmartPoster(NDEFRecordType::WellKnown, QByteArrayLiteral("Sp"));

NDEFRecordType::NDEFRecordType(int tnf, const QByteArray& name)
    : m_tnf(tnf)
    , m_name(name)
{
}

bool NDEFRecordType::operator==(const NDEFRecordType& other) const
{
    return m_tnf == other.m_tnf && m_name == other.m_name;
}
