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
    , m_content(nesting <= NDEFMessageParser::maxNesting ? NDEFMessageParser::parse(payload, nesting)
                                                         : nullptr)
{
}

SmartPosterNDEFRecord::~SmartPosterNDEFRecord()
{
    delete m_content;
}

const URINDEFRecord* SmartPosterNDEFRecord::getURIRecord() const
{
    if (!m_content)
        return nullptr;
    for (const NDEFRecord* record : m_content->getRecords()) {
        if (record->getType() == NDEFRecordType::URI)
            return static_cast<const URINDEFRecord*>(record);
    }
    return nullptr;
}

QList<const TextNDEFRecord*> SmartPosterNDEFRecord::getTitleRecords() const
{
    QList<const TextNDEFRecord*> titles;
    if (!m_content)
        return titles;
    for (const NDEFRecord* record : m_content->getRecords()) {
        if (record->getType() == NDEFRecordType::Text)
            titles.append(static_cast<const TextNDEFRecord*>(record));
    }
    return titles;
}
