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

// Decodes UTF-16 text as the Text record stores it: big-endian unless a byte-order mark says otherwise.
inline QString decodeUtf16(const QByteArray& bytes)
{
    bool littleEndian = false;
    int start = 0;
    if (bytes.size() >= 2 && quint8(bytes.at(0)) == 0xfe && quint8(bytes.at(1)) == 0xff) {
        start = 2;
    } else if (bytes.size() >= 2 && quint8(bytes.at(0)) == 0xff && quint8(bytes.at(1)) == 0xfe) {
        start = 2;
        littleEndian = true;
    }
    QString text;
    for (int i = start; i + 1 < bytes.size(); i += 2) {
        const quint8 first = quint8(bytes.at(i));
        const quint8 second = quint8(bytes.at(i + 1));
        text.append(QChar(littleEndian ? ushort(second << 8 | first) : ushort(first << 8 | second)));
    }
    return text;
}

#endif
