#ifndef NDEFRECORDHANDLER_H
#define NDEFRECORDHANDLER_H

#include <QList>
#include <QString>

#include "contentaction.h"

class NDEFRecord;
class QTemporaryFile;
class TextNDEFRecord;
class URINDEFRecord;

namespace ConnUi {

class NdefRecordHandlerPrivate;

// Everything the tag reading needs to know about one NDEF record: its kind, URI, MIME type, external
// type, text, the content actions that can handle it, whether the system handles it itself, and the
// application the user chose before for records of its kind.
class NdefRecordHandler
{
public:
    explicit NdefRecordHandler(const NDEFRecord* record);
    virtual ~NdefRecordHandler();

    const NDEFRecord* record() const;
    bool isSupported() const;
    bool hasPredefinedSupport() const;
    QList<ContentAction::Action> actions() const;
    QTemporaryFile* dataFile() const;
    // The name of the data file, empty when there is none; unlike dataFile() it makes no object.
    QString dataFileName() const;

    const URINDEFRecord* uriRecord() const;
    bool isCallUri() const;
    bool isSmsUri() const;
    QString mimeType() const;
    QString externalType() const;
    QString externalTypeContent() const;

    const TextNDEFRecord* textRecord() const;
    QString textString() const;
    static const TextNDEFRecord* selectTextRecord(const QList<const TextNDEFRecord*>& records);

    void setDefaultApplicationKey(const QString& key);
    QString defaultApplication() const;
    void setDefaultApplication(const QString& application);

    // Removes at once the data files of handlers already gone, whose removal is still pending.
    static void removePendingDataFiles();

private:
    Q_DISABLE_COPY(NdefRecordHandler)
    NdefRecordHandlerPrivate* const d;
    // The command-line inspector shows the URI string and the record key as the handler computes them.
    friend class NdefRecordExaminer;
};

} // namespace ConnUi

#endif
