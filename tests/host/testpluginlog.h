// The file the recording test plugin logs its calls to ($NFCUI_TEST_PLUGIN_LOG), in a temporary folder.
#pragma once

#include <QFile>
#include <QStringList>
#include <QTemporaryDir>

class TestPluginLog
{
public:
    bool isValid() const { return m_dir.isValid(); }
    // Another file in the same temporary folder.
    QString filePath(const QString& name) const { return m_dir.filePath(name); }
    QString path() const { return filePath(QStringLiteral("plugin.log")); }
    void clear() const { QFile::remove(path()); }

    // One entry a line ("initialize", "finished 16384", "destroy"); none when nothing was logged.
    QStringList lines() const
    {
        QFile file(path());
        if (!file.open(QIODevice::ReadOnly))
            return QStringList();
        return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }

private:
    QTemporaryDir m_dir;
};
