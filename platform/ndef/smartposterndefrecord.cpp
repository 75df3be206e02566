#include "smartposterndefrecord.h"

#include "ndefmessage.h"
#include "ndefmessageparser_p.h"
#include "textndefrecord.h"
#include "urindefrecord.h"

SmartPosterNDEFRecord::SmartPosterNDEFRecord(const NDEFRecordType& type, const QByteArray& id,
                                             const QByteArray& payload)
    // A record made directly stands at the top level: its payload is one level deep.
    : SmartPosterNDEFRecord(type, id, payload, 1)
{
}

SmartPosterNDEFRecord::SmartPosterNDEFRecord(const NDEFRecordType& type, const QByteArray& id,
                                             const QByteArray& payload, int nesting)
    : NDEFRecord(type, id, payload)
    , m_nesting(nesting)
{
}

SmartPosterNDEFRecord::~SmartPosterNDEFRecord()
{
    delete m_content;
}

const NDEFMessage* SmartPosterNDEFRecord::content() const
{
    if (!m_parsed) {
        m_parsed = true;
        // The nested records refer to this record's payload, which lives as long as they do.
        if (m_nesting <= NDEFMessageParser::maxNesting)
            m_content = NDEFMessageParser::parse(payloadData(), payloadSize(), m_nesting);
    }
    return m_content;
}

const URINDEFRecord* SmartPosterNDEFRecord::getURIRecord() const
{
    const NDEFMessage* nested = content();
    if (!nested)
        return nullptr;
    for (int i = 0; i < nested->m_recordCount; ++i) {
        const NDEFRecord* record = nested->m_records[i];
        if (record->getType() == NDEFRecordType::URI)
            return static_cast<const URINDEFRecord*>(record);
    }
    return nullptr;
}

QList<const TextNDEFRecord*> SmartPosterNDEFRecord::getTitleRecords() const
{
    QList<const TextNDEFRecord*> titles;
    const NDEFMessage* nested = content();
    if (!nested)
        return titles;
    for (int i = 0; i < nested->m_recordCount; ++i) {
        const NDEFRecord* record = nested->m_records[i];
        if (record->getType() == NDEFRecordType::Text)
            titles.append(static_cast<const TextNDEFRecord*>(record));
    }
    return titles;
}
