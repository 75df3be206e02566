#include "defaultsfile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace DefaultsFile {

QString nfcDirectoryPath()
{
    return QDir::homePath() + QStringLiteral("/.nfc");
}

QString databasePath()
{
    return nfcDirectoryPath() + QStringLiteral("/defaulttaghandlers");
}

void removeDatabase()
{
    QDir(nfcDirectoryPath()).removeRecursively();
    QFile::remove(nfcDirectoryPath());
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray exampleDatabase()
{
    return QByteArray::fromHex("00000001"
                               "00000006" "0073006d0073"
                               "00000006" "004100700070");
}

} // namespace DefaultsFile
