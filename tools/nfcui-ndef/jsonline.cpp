#include "jsonline.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace NdefTool {

namespace {

// A value in compact JSON: written as the only element of an array, whose brackets are then dropped.
QByteArray compact(const QJsonValue& value)
{
    const QByteArray array = QJsonDocument(QJsonArray{ value }).toJson(QJsonDocument::Compact);
    return array.mid(1, array.size() - 2);
}

} // namespace

JsonLine& JsonLine::add(const QString& key, const QJsonValue& value)
{
    if (!m_members.isEmpty())
        m_members.append(", ");
    m_members.append(compact(QJsonValue(key)));
    m_members.append(": ");
    m_members.append(compact(value));
    return *this;
}

JsonLine& JsonLine::addString(const QString& key, const QString& value)
{
    return add(key, value.isNull() ? QJsonValue(QJsonValue::Null) : QJsonValue(value));
}

JsonLine& JsonLine::addStrings(const QString& key, const QStringList& values)
{
    QByteArray array = "[";
    for (int i = 0; i < values.size(); ++i) {
        if (i > 0)
            array.append(", ");
        array.append(compact(QJsonValue(values.at(i))));
    }
    array.append(']');
    if (!m_members.isEmpty())
        m_members.append(", ");
    m_members.append(compact(QJsonValue(key)));
    m_members.append(": ");
    m_members.append(array);
    return *this;
}

QByteArray JsonLine::toJson() const
{
    return '{' + m_members + '}';
}

} // namespace NdefTool
