#include "ndefrecord.h"

NDEFRecord::NDEFRecord(const NDEFRecordType& type, const QByteArray& id, const QByteArray& payload)
    : m_type(type)
    , m_id(id)
    , m_payload(payload)
{
}

NDEFRecord::~NDEFRecord() = default;
