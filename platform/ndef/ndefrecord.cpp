#include "ndefrecord.h"

NDEFRecord::NDEFRecord(const NDEFRecordType& type, const QByteArray& id, const QByteArray& payload)
    : m_type(type)
    , m_idStorage(id)
    , m_payloadStorage(payload)
    , m_id(m_idStorage.constData())
    , m_payload(m_payloadStorage.constData())
    , m_idSize(m_idStorage.size())
    , m_payloadSize(m_payloadStorage.size())
{
}

NDEFRecord::NDEFRecord(const NDEFRecordType& type, Bytes id, Bytes payload)
    : m_type(type)
    , m_id(id.data)
    , m_payload(payload.data)
    , m_idSize(id.size)
    , m_payloadSize(payload.size)
{
}

NDEFRecord::NDEFRecord(const NDEFRecordType& type, Bytes id, const QByteArray& ownedPayload)
    : m_type(type)
    , m_payloadStorage(ownedPayload)
    , m_id(id.data)
    , m_payload(m_payloadStorage.constData())
    , m_idSize(id.size)
    , m_payloadSize(m_payloadStorage.size())
{
}

NDEFRecord::~NDEFRecord() = default;
