#ifndef NFCUI_DEFAULTSFILE_H
#define NFCUI_DEFAULTSFILE_H

#include <QByteArray>
#include <QString>

// The default application database in the test's home, as the suites read, write and remove it.
namespace DefaultsFile {

// The folder ~/.nfc and the database file in it.
QString nfcDirectoryPath();
QString databasePath();

// Removes the folder with the database, or a plain file that stands where the folder should be.
void removeDatabase();

// A file's bytes (empty when it cannot be read), and a file written whole with its folder made first.
QByteArray readFile(const QString& path);
bool writeFile(const QString& path, const QByteArray& bytes);

// The database file with one pair, key sms and value App.
QByteArray exampleDatabase();

} // namespace DefaultsFile

#endif
