#ifndef NDEFCORPUS_H
#define NDEFCORPUS_H

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

// The shared corpus of real-world NDEF messages: NFCUI_NDEF_CORPUS when set, otherwise the file
// the build found beside the repository.
inline QString ndefCorpusPath()
{
    const QString fromEnvironment = qEnvironmentVariable("NFCUI_NDEF_CORPUS");
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;
    return QStringLiteral(NFCUI_CORPUS_PATH);
}

// The corpus entries, or an empty array when the corpus cannot be read or parsed (error says why).
inline QJsonArray loadNdefCorpus(QString* error)
{
    QFile file(ndefCorpusPath());
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("NDEF corpus not found at %1").arg(file.fileName());
        return QJsonArray();
    }
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &parseError);
    if (document.isNull()) {
        *error = QStringLiteral("NDEF corpus %1 is not JSON: %2").arg(file.fileName(), parseError.errorString());
        return QJsonArray();
    }
    return document.object().value(QStringLiteral("entries")).toArray();
}

inline QByteArray corpusBytes(const QJsonValue& value)
{
    return QByteArray::fromHex(value.toString().toLatin1());
}

#endif
