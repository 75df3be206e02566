#ifndef NDEFRECORDHANDLER_P_H
#define NDEFRECORDHANDLER_P_H

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include "contentaction.h"

class NDEFRecord;
class QTemporaryFile;
class URINDEFRecord;

namespace ConnUi {

// The working half of NdefRecordHandler: the record's classification, its content actions, the
// file holding a MIME record's payload and the handler's copy of the default application database.
class NdefRecordHandlerPrivate
{
public:
    explicit NdefRecordHandlerPrivate(const NDEFRecord* record);
    // Leaves the data file alone: the handler hands it over to a delayed deletion.
    ~NdefRecordHandlerPrivate();

    // Classification. The URI queries give null unless the record is a URI record, or a Smart
    // Poster with a URI, whose URI passes validation.
    const URINDEFRecord* uriRecord() const;
    bool isValidUriRecord(const URINDEFRecord* uriRecord) const;
    bool isValidURIStart(const QString& uri) const;
    QString uriString() const;
    // Saves the payload to the data file first; null when that fails.
    QString mimeType();
    QString externalType() const;
    QString externalTypeContent() const;
    // The key of the default application database: the caller's prefix plus the URI scheme, the
    // MIME type, the external type or the raw type name.
    QString recordType();

    // Support and content actions, resolved once by the constructor of the handler.
    void resolveSupport();
    void resolvePredefinedSupport();
    void createContentActionsForUri();
    void createContentActionsForMime(const QString& mimeType);
    void createContentActionsForExternalType(const QString& externalType, const QString& content);

    // The default application database file, read before every lookup and update.
    void loadDefaultApplicationDatabase() const;
    // Written only when its bytes change, and then replaced whole.
    void saveDefaultApplicationDatabase();
    // The table was just read from the file and maps key to application already.
    bool databaseHolds(const QString& key, const QString& application) const;

    // Writes the payload of a MIME record to the data file (once) and checks a contact card.
    bool saveRecordData();

    bool predefinedSupport;
    bool supported;
    const NDEFRecord* record;
    QList<ContentAction::Action> actions;
    // The saved file's name, empty until the first successful save and again after a failed one.
    QString dataFileName;
    // The object dataFile() hands out for that name, made on first request and owned by the handler
    // until it is gone, then by the removal queue.
    QTemporaryFile* dataFile;
    mutable QHash<QString, QString> defaultApplicationDatabase;
    QString defaultApplicationKey;
    // The bytes of the file as last read or written, and whether they are the file's whole
    // contents (false when it was missing or could not be read).
    mutable QByteArray databaseFileBytes;
    mutable bool databaseFileLoaded;

    // "~/.nfc/defaulttaghandlers", with the platform's separator.
    static const QString databaseFilePath;
    // URI beginnings that must carry data after the scheme.
    static const QStringList validURIStarts;

private:
    Q_DISABLE_COPY(NdefRecordHandlerPrivate)
};

} // namespace ConnUi

#endif
