#include "defaultsdatabase.h"

#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace NdefTool {

namespace {
const int streamVersion = 12; // QDataStream::Qt_4_6, the version the record handler writes
} // namespace

QString DefaultsDatabase::defaultPath()
{
    return QDir::homePath() + QDir::separator() + QStringLiteral(".nfc") + QDir::separator()
           + QStringLiteral("defaulttaghandlers");
}

DefaultsDatabase::DefaultsDatabase(const QString& path)
    : m_path(path)
{
}

void DefaultsDatabase::load()
{
    m_entries.clear();
    m_error.clear();
    QFile file(m_path);
    if (!file.exists()) {
        m_state = Missing;
        return;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        m_state = Unreadable;
        m_error = file.errorString();
        return;
    }
    QDataStream stream(&file);
    stream.setVersion(streamVersion);
    quint32 count = 0;
    stream >> count;
    if (stream.status() != QDataStream::Ok) {
        m_state = Damaged;
        m_error = QStringLiteral("the file is too short to hold the number of entries");
        return;
    }
    for (quint32 i = 0; i < count; ++i) {
        QString key;
        QString application;
        stream >> key >> application;
        if (stream.status() != QDataStream::Ok) {
            m_state = Damaged;
            m_error = QStringLiteral("the file promises %1 entries but holds only %2").arg(count).arg(i);
            return;
        }
        remove(key);
        m_entries.append(qMakePair(key, application));
    }
    m_state = Good;
}

bool DefaultsDatabase::contains(const QString& key) const
{
    for (const auto& entry : m_entries) {
        if (entry.first == key)
            return true;
    }
    return false;
}

void DefaultsDatabase::remove(const QString& key)
{
    for (int i = m_entries.size() - 1; i >= 0; --i) {
        if (m_entries.at(i).first == key)
            m_entries.removeAt(i);
    }
}

QByteArray DefaultsDatabase::serialize(const QList<QPair<QString, QString>>& entries)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(streamVersion);
    stream << quint32(entries.size());
    for (const auto& entry : entries)
        stream << entry.first << entry.second;
    return bytes;
}

bool DefaultsDatabase::save()
{
    const QFileInfo info(m_path);
    if (!QDir().mkpath(info.absolutePath())) {
        m_error = QStringLiteral("cannot create the directory %1").arg(info.absolutePath());
        return false;
    }
    QSaveFile file(info.absoluteFilePath());
    if (!file.open(QIODevice::WriteOnly)) {
        m_error = file.errorString();
        return false;
    }
    file.write(serialize(m_entries));
    if (!file.commit()) {
        m_error = file.errorString();
        return false;
    }
    m_state = Good;
    return true;
}

} // namespace NdefTool
