#include "ndefrecordexaminer.h"

#include <QStringList>
#include <QTemporaryFile>

#include "jsonline.h"
#include "ndefrecord.h"
#include "ndefrecordhandler.h"
#include "ndefrecordhandler_p.h"
#include "ndefrecordtype.h"
#include "textndefrecord.h"

namespace ConnUi {

QString NdefRecordExaminer::kind(const NdefRecordHandler& handler)
{
    const NDEFRecord* record = handler.record();
    if (!record)
        return QStringLiteral("other");
    const NDEFRecordType type = record->getType();
    if (type == NDEFRecordType::Text)
        return QStringLiteral("text");
    // A URI record, or a Smart Poster with a URI, counts only when its URI passes validation.
    if (handler.uriRecord())
        return QStringLiteral("uri");
    if (type.getTNF() == NDEFRecordType::MimeMedia)
        return QStringLiteral("mime");
    if (type.getTNF() == NDEFRecordType::External)
        return QStringLiteral("external");
    return QStringLiteral("other");
}

QString NdefRecordExaminer::uriString(const NdefRecordHandler& handler)
{
    return handler.d->uriString();
}

QString NdefRecordExaminer::recordKey(const NdefRecordHandler& handler)
{
    return handler.d->recordType();
}

QByteArray NdefRecordExaminer::describe(int index, const NdefRecordHandler& handler)
{
    NdefTool::JsonLine line;
    line.add(QStringLiteral("index"), index);

    const NDEFRecord* record = handler.record();
    if (!record)
        return line.toJson();

    const NDEFRecordType type = record->getType();
    const QByteArray typeName = type.getName();
    line.add(QStringLiteral("tnf"), type.getTNF())
        .addString(QStringLiteral("type"), QString::fromLatin1(typeName.constData(), typeName.size()))
        .add(QStringLiteral("payloadSize"), record->getPayload().size())
        .addString(QStringLiteral("kind"), kind(handler))
        .addString(QStringLiteral("uri"), uriString(handler))
        .add(QStringLiteral("callUri"), handler.isCallUri())
        .add(QStringLiteral("smsUri"), handler.isSmsUri())
        .addString(QStringLiteral("mimeType"), handler.mimeType())
        .addString(QStringLiteral("externalType"), handler.externalType())
        .addString(QStringLiteral("externalContent"), handler.externalTypeContent())
        .addString(QStringLiteral("text"), handler.textString());

    const TextNDEFRecord* textRecord = handler.textRecord();
    QString language;
    if (textRecord) {
        const QByteArray tag = textRecord->getLanguage();
        language = QString::fromLatin1(tag.constData(), tag.size());
    }
    line.addString(QStringLiteral("language"), language);

    line.addString(QStringLiteral("key"), recordKey(handler))
        .add(QStringLiteral("supported"), handler.isSupported())
        .add(QStringLiteral("predefined"), handler.hasPredefinedSupport());

    QStringList actionNames;
    const QList<ContentAction::Action> actions = handler.actions();
    for (const ContentAction::Action& action : actions)
        actionNames.append(action.name());
    line.addStrings(QStringLiteral("actions"), actionNames)
        .addString(QStringLiteral("defaultApplication"), handler.defaultApplication());

    // Read last: the data file is written by the first request for the MIME type.
    const QTemporaryFile* dataFile = handler.dataFile();
    line.addString(QStringLiteral("dataFile"), dataFile ? dataFile->fileName() : QString());
    return line.toJson();
}

} // namespace ConnUi
