#ifndef NFCUI_NDEF_JSONLINE_H
#define NFCUI_NDEF_JSONLINE_H

#include <QByteArray>
#include <QJsonValue>
#include <QString>
#include <QStringList>

namespace NdefTool {

// One JSON object on one line whose members keep the order in which they are added (QJsonObject sorts
// its keys), written as {"key": value, "key": [a, b]}. Values are written by Qt's own JSON writer, so
// escaping is exactly QJsonDocument's.
class JsonLine
{
public:
    JsonLine& add(const QString& key, const QJsonValue& value);
    // A null string is written as null, any other string (also an empty one) as a string.
    JsonLine& addString(const QString& key, const QString& value);
    JsonLine& addStrings(const QString& key, const QStringList& values);

    // The object on one line, without a newline.
    QByteArray toJson() const;

private:
    QByteArray m_members;
};

} // namespace NdefTool

#endif
