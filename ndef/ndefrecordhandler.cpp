#include "ndefrecordhandler.h"
#include "ndefrecordhandler_p.h"

#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPointer>
#include <QSaveFile>
#include <QTemporaryFile>
#include <QBasicTimer>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QTimerEvent>
#include <QUrl>

#include <cstdio>
#include <deque>
#include <memory>
#include <sys/mman.h>
#include <unistd.h>

#include "contactexporter.h"
#include "ndefrecord.h"
#include "ndefrecordtype.h"
#include "smartposterndefrecord.h"
#include "textndefrecord.h"
#include "uilocale.h"
#include "urindefrecord.h"

namespace {

const int dataFileRemovalDelay = 20000; // ms, time for the launched application to open the file
const int removalBatchMs = 250;         // names gone within this much of each other are removed together
const qint64 removalSliceNs = 200000;   // and in slices of about this long, the event loop running between
const char dataFileTemplate[] = "/tmp/nfc-mime-tag-content-XXXXXX";
const char dataFilePrefix[] = "/tmp/nfc-mime-tag-content-"; // the template without its unique suffix
const char contactCardType[] = "text/x-vcard";
const char directoryType[] = "text/directory";
const char storeLinkType[] = "quandel:link";
const char storeLinkLongType[] = "orvan.com:quandel:link";
const char storeClientEntry[] = "quandelclient.desktop";
const char relativeFilePrefix[] = "file://";
const char absoluteFilePrefix[] = "file:///";
const char documentsFilePrefix[] = "file:///home/user/MyDocs/";

// Bounded by the array's size: the NDEF library's arrays are views of the message and carry no
// terminating NUL of their own.
QString utf8UpToNul(const QByteArray& bytes)
{
    return QString::fromUtf8(bytes.constData(), int(qstrnlen(bytes.constData(), uint(bytes.size()))));
}

// Whole byte arrays, embedded NULs included (the QByteArray overloads stop at the first NUL).
QString utf8(const QByteArray& bytes)
{
    return QString::fromUtf8(bytes.constData(), bytes.size());
}

QString latin1UpToNul(const QByteArray& bytes)
{
    return QString::fromLatin1(bytes.constData(), int(qstrnlen(bytes.constData(), uint(bytes.size()))));
}

QString latin1(const QByteArray& bytes)
{
    return QString::fromLatin1(bytes.constData(), bytes.size());
}

// Valid when decoding up to the first NUL and encoding again gives back the same bytes, so both
// malformed sequences and embedded NULs make the bytes invalid.
bool isValidUtf8(const QByteArray& bytes)
{
    return utf8UpToNul(bytes).toUtf8() == bytes;
}

bool isStoreLink(const QString& externalType)
{
    return externalType.startsWith(QLatin1String(storeLinkType), Qt::CaseInsensitive)
        || externalType.startsWith(QLatin1String(storeLinkLongType), Qt::CaseInsensitive);
}

// UTF-16 code units from the byte pairs starting at from; a lone last byte is the high byte of one
// more unit when keepOddByte is set, and dropped otherwise.
QString utf16(const QByteArray& bytes, int from, bool bigEndian, bool keepOddByte)
{
    const int byteCount = bytes.size() - from;
    const int unitCount = keepOddByte ? (byteCount + 1) / 2 : byteCount / 2;
    QString text(unitCount, Qt::Uninitialized);
    for (int unit = 0; unit < unitCount; ++unit) {
        const int pos = from + 2 * unit;
        const ushort first = uchar(bytes.at(pos));
        const ushort second = pos + 1 < bytes.size() ? uchar(bytes.at(pos + 1)) : 0;
        text[unit] = QChar(bigEndian ? ushort(first << 8 | second) : ushort(second << 8 | first));
    }
    return text;
}

// The files of handlers that are gone, known by name only: the part of each name after the fixed
// prefix, 8 bytes each, oldest first (their deadlines are kept per batch, see PendingDataFiles). They
// live in a ring mapped apart from the heap, grown by doubling: at a thousand MIME tags a second some
// twenty thousand files are pending at a time, and once they are gone the ring's memory goes back to
// the system whole, instead of leaving pages of the heap pinned by whatever was allocated between its
// blocks. The first page is kept for the next file.
class PendingNameRing
{
public:
    struct Entry
    {
        char suffix[8]; // the name after dataFilePrefix, NUL-terminated
    };

    PendingNameRing() = default;
    ~PendingNameRing() { release(); }

    bool empty() const { return m_count == 0; }
    const Entry& front() const { return m_entries[m_head]; }

    // False when no memory could be had for it.
    bool push(const Entry& entry)
    {
        if (m_count == m_capacity && !grow())
            return false;
        m_entries[(m_head + m_count) % m_capacity] = entry;
        ++m_count;
        return true;
    }

    void pop()
    {
        m_head = (m_head + 1) % m_capacity;
        if (--m_count == 0) {
            m_head = 0;
            if (m_capacity > firstCapacity)
                release();
        }
    }

    void release()
    {
        if (m_entries)
            ::munmap(m_entries, m_capacity * sizeof(Entry));
        m_entries = nullptr;
        m_capacity = m_head = m_count = 0;
    }

private:
    Q_DISABLE_COPY(PendingNameRing)

    static constexpr size_t firstCapacity = 4096 / sizeof(Entry);

    bool grow()
    {
        const size_t capacity = m_capacity ? 2 * m_capacity : firstCapacity;
        void* memory = ::mmap(nullptr, capacity * sizeof(Entry), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS,
                              -1, 0);
        if (memory == MAP_FAILED)
            return false;
        auto* entries = static_cast<Entry*>(memory);
        for (size_t i = 0; i < m_count; ++i)
            entries[i] = m_entries[(m_head + i) % m_capacity];
        const size_t count = m_count;
        release();
        m_entries = entries;
        m_capacity = capacity;
        m_count = count;
        return true;
    }

    Entry* m_entries = nullptr;
    size_t m_capacity = 0;
    size_t m_head = 0;
    size_t m_count = 0;
};

// The data files of handlers that are gone, each removed once its delay has passed, oldest first. A
// file is pending by name alone; only a file whose object was handed out by dataFile() keeps that
// object until its deadline (whoever holds the pointer may still read the name), guarded, so that
// deleting it early removes the file sooner and nothing more. Names gone within removalBatchMs of the
// first of their batch share one deadline, their last one's: none is removed early, none more than a
// batch late, and a steady stream of files wakes the event loop a few times a second rather than once
// per file. One timer serves both queues. Whatever is still pending when the plugin is
// destroyed, or when the process ends or unloads the library, is removed then: a file must never
// outlive the dialog server.
class PendingDataFiles : public QObject
{
public:
    static PendingDataFiles& instance()
    {
        static PendingDataFiles pending;
        return pending;
    }

    // The file of a handler that is gone: by its object when one was handed out, else by its name.
    void add(QTemporaryFile* file, const QString& name)
    {
        const qint64 due = now() + dataFileRemovalDelay;
        if (!file) {
            const QByteArray encoded = QFile::encodeName(name);
            const int prefixLength = int(sizeof(dataFilePrefix)) - 1;
            PendingNameRing::Entry entry;
            if (encoded.startsWith(dataFilePrefix) && encoded.size() - prefixLength < int(sizeof(entry.suffix))) {
                qstrncpy(entry.suffix, encoded.constData() + prefixLength, sizeof(entry.suffix));
                if (m_names.push(entry)) {
                    if (m_batches.empty() || due - m_batches.back().opened >= removalBatchMs)
                        m_batches.push_back(NameBatch{due, due, 0});
                    m_batches.back().due = due;
                    ++m_batches.back().count;
                    armIfIdle();
                    return;
                }
            }
            // A name the ring cannot hold (never made from the fixed template), or no memory for it:
            // the file waits with an object of its own.
            file = new QTemporaryFile;
            file->setFileName(name);
        }
        m_objects.push_back(PendingObject{due, QPointer<QTemporaryFile>(file)});
        armIfIdle();
    }

    void removeAll()
    {
        m_timer.stop();
        while (!m_names.empty()) {
            removeName(m_names.front());
            m_names.pop();
        }
        m_names.release();
        std::deque<NameBatch>().swap(m_batches);
        for (const PendingObject& pending : m_objects)
            delete pending.file.data();
        std::deque<PendingObject>().swap(m_objects);
    }

protected:
    void timerEvent(QTimerEvent* event) override
    {
        if (event->timerId() != m_timer.timerId())
            return;
        m_timer.stop();
        // A slice at a time: at a thousand files a second a batch is hundreds of removals, which would
        // hold up for milliseconds whatever else the event loop has to do, replies to the NFC daemon
        // included. What is left of the batch goes on at the next turn of the event loop.
        QElapsedTimer slice;
        slice.start();
        const qint64 current = now();
        bool more = false;
        while (!m_batches.empty() && m_batches.front().due <= current) {
            if (slice.nsecsElapsed() >= removalSliceNs) {
                more = true;
                break;
            }
            removeName(m_names.front());
            m_names.pop();
            if (--m_batches.front().count == 0)
                m_batches.pop_front();
        }
        while (!more && !m_objects.empty() && m_objects.front().due <= current) {
            if (slice.nsecsElapsed() >= removalSliceNs) {
                more = true;
                break;
            }
            delete m_objects.front().file.data();
            m_objects.pop_front();
        }
        if (m_objects.empty())
            std::deque<PendingObject>().swap(m_objects);
        if (m_batches.empty())
            std::deque<NameBatch>().swap(m_batches);
        if (more)
            m_timer.start(0, this);
        else
            arm();
    }

private:
    PendingDataFiles() = default;
    ~PendingDataFiles() override { removeAll(); }

    // Names that went within removalBatchMs of the first of them.
    struct NameBatch
    {
        qint64 opened; // ms on the monotonic clock: the first one's deadline
        qint64 due;    // the last one's deadline
        size_t count;
    };

    struct PendingObject
    {
        qint64 due; // ms on the monotonic clock
        QPointer<QTemporaryFile> file;
    };

    static qint64 now() { return QDeadlineTimer::current(Qt::PreciseTimer).deadline(); }

    static void removeName(const PendingNameRing::Entry& entry)
    {
        char name[sizeof(dataFilePrefix) + sizeof(entry.suffix)];
        std::snprintf(name, sizeof(name), "%s%s", dataFilePrefix, entry.suffix);
        ::unlink(name);
    }

    void armIfIdle()
    {
        if (!m_timer.isActive())
            arm();
    }

    // At the oldest deadline, never early.
    void arm()
    {
        qint64 due = -1;
        if (!m_batches.empty())
            due = m_batches.front().due;
        if (!m_objects.empty() && (due < 0 || m_objects.front().due < due))
            due = m_objects.front().due;
        if (due < 0)
            return;
        m_timer.start(int(qMax<qint64>(0, due - now())), Qt::PreciseTimer, this);
    }

    // Each in order of deadlines, since every delay is the same; m_batches counts m_names from its front.
    PendingNameRing m_names;
    std::deque<NameBatch> m_batches;
    std::deque<PendingObject> m_objects;
    QBasicTimer m_timer;
};

} // namespace

namespace ConnUi {

const QString NdefRecordHandlerPrivate::databaseFilePath = QDir::homePath() + QDir::separator()
    + QLatin1String(".nfc") + QDir::separator() + QLatin1String("defaulttaghandlers");

const QStringList NdefRecordHandlerPrivate::validURIStarts = QStringList()
    << QStringLiteral("http:") << QStringLiteral("https:") << QStringLiteral("tel:")
    << QStringLiteral("callto:") << QStringLiteral("sms:");

// ---------------------------------------------------------------------------------------------------
// The handler

NdefRecordHandler::NdefRecordHandler(const NDEFRecord* record)
    : d(new NdefRecordHandlerPrivate(record))
{
    d->resolveSupport();
    if (d->supported)
        d->resolvePredefinedSupport();
    else
        d->predefinedSupport = false;
}

NdefRecordHandler::~NdefRecordHandler()
{
    // The application launched on the data file may not have opened it yet.
    if (!d->dataFileName.isEmpty())
        PendingDataFiles::instance().add(d->dataFile, d->dataFileName);
    delete d;
}

void NdefRecordHandler::removePendingDataFiles()
{
    PendingDataFiles::instance().removeAll();
}

const NDEFRecord* NdefRecordHandler::record() const
{
    return d->record;
}

bool NdefRecordHandler::isSupported() const
{
    return d->supported;
}

bool NdefRecordHandler::hasPredefinedSupport() const
{
    return d->predefinedSupport;
}

QList<ContentAction::Action> NdefRecordHandler::actions() const
{
    return d->actions;
}

QTemporaryFile* NdefRecordHandler::dataFile() const
{
    // Made on first request: a handler whose file object nobody asks for leaves only the file's name
    // pending after it is gone.
    if (!d->dataFile && !d->dataFileName.isEmpty()) {
        d->dataFile = new QTemporaryFile;
        d->dataFile->setFileName(d->dataFileName);
    }
    return d->dataFile;
}

QString NdefRecordHandler::dataFileName() const
{
    return d->dataFileName;
}

const URINDEFRecord* NdefRecordHandler::uriRecord() const
{
    return d->uriRecord();
}

bool NdefRecordHandler::isCallUri() const
{
    const QString uri = d->uriString();
    return uri.startsWith(QLatin1String("tel:")) || uri.startsWith(QLatin1String("callto:"));
}

bool NdefRecordHandler::isSmsUri() const
{
    return d->uriString().startsWith(QLatin1String("sms:"));
}

QString NdefRecordHandler::mimeType() const
{
    return d->mimeType();
}

QString NdefRecordHandler::externalType() const
{
    return d->externalType();
}

QString NdefRecordHandler::externalTypeContent() const
{
    return d->externalTypeContent();
}

const TextNDEFRecord* NdefRecordHandler::textRecord() const
{
    if (!d->record)
        return nullptr;
    const NDEFRecordType type = d->record->getType();
    if (type == NDEFRecordType::Text)
        return static_cast<const TextNDEFRecord*>(d->record);
    if (type == NDEFRecordType::SmartPoster) {
        const QList<const TextNDEFRecord*> titles =
            static_cast<const SmartPosterNDEFRecord*>(d->record)->getTitleRecords();
        return selectTextRecord(titles);
    }
    return nullptr;
}

QString NdefRecordHandler::textString() const
{
    const TextNDEFRecord* text = textRecord();
    if (!text)
        return QString();

    const QByteArray bytes = text->getText();
    const int encoding = text->getEncoding();
    if (encoding == TextNDEFRecord::Utf8)
        return utf8(bytes);
    if (encoding == TextNDEFRecord::Utf16 && bytes.size() >= 2) {
        const uchar first = uchar(bytes.at(0));
        const uchar second = uchar(bytes.at(1));
        if (first == 0xfe && second == 0xff)
            return utf16(bytes, 2, true, false);
        if (first == 0xff && second == 0xfe)
            return utf16(bytes, 2, false, false);
        // No byte-order mark: big-endian, as NDEF text records default to.
        return utf16(bytes, 0, true, true);
    }
    qWarning("NdefRecordHandler: unable to get text from TextNDEFRecord");
    return QString();
}

// A record in the UI language and country wins at once; otherwise the last record in the UI
// language, else the first English record, else the first record.
const TextNDEFRecord* NdefRecordHandler::selectTextRecord(const QList<const TextNDEFRecord*>& records)
{
    const UiLocale locale;
    const QString language = locale.language();
    if (records.isEmpty()) {
        qWarning("NdefRecordHandler: Unable to select text record from empty list!");
        return nullptr;
    }

    const QString country = locale.country();
    const TextNDEFRecord* choice = nullptr;
    for (const TextNDEFRecord* record : records) {
        const QString tag = latin1(record->getLanguage());
        if (tag.startsWith(language, Qt::CaseInsensitive)) {
            if (tag.endsWith(country, Qt::CaseInsensitive))
                return record;
            choice = record;
        } else if (!choice && tag.startsWith(QLatin1String("en"), Qt::CaseInsensitive)) {
            choice = record;
        }
    }
    return choice ? choice : records.first();
}

void NdefRecordHandler::setDefaultApplicationKey(const QString& key)
{
    d->defaultApplicationKey = key;
}

QString NdefRecordHandler::defaultApplication() const
{
    if (!d->record)
        return QString();
    d->loadDefaultApplicationDatabase();
    return d->defaultApplicationDatabase.value(d->recordType());
}

void NdefRecordHandler::setDefaultApplication(const QString& application)
{
    if (!d->record)
        return;
    // Reloaded first so that choices saved by other handlers in the meantime are kept.
    d->loadDefaultApplicationDatabase();
    const QString key = d->recordType();
    // A choice the file already holds is not written again.
    if (d->databaseHolds(key, application))
        return;
    d->defaultApplicationDatabase.insert(key, application);
    d->saveDefaultApplicationDatabase();
}

// ---------------------------------------------------------------------------------------------------
// Classification

NdefRecordHandlerPrivate::NdefRecordHandlerPrivate(const NDEFRecord* record)
    : predefinedSupport(false)
    , supported(false)
    , record(record)
    , dataFile(nullptr)
    , databaseFileLoaded(false)
{
}

NdefRecordHandlerPrivate::~NdefRecordHandlerPrivate() = default;

const URINDEFRecord* NdefRecordHandlerPrivate::uriRecord() const
{
    if (!record)
        return nullptr;
    const NDEFRecordType type = record->getType();
    const URINDEFRecord* candidate = nullptr;
    if (type == NDEFRecordType::SmartPoster)
        candidate = static_cast<const SmartPosterNDEFRecord*>(record)->getURIRecord();
    else if (type == NDEFRecordType::URI)
        candidate = static_cast<const URINDEFRecord*>(record);

    if (!candidate || !isValidUriRecord(candidate))
        return nullptr;
    return candidate;
}

bool NdefRecordHandlerPrivate::isValidUriRecord(const URINDEFRecord* uriRecord) const
{
    const QByteArray bytes = uriRecord->getURI();
    if (!isValidUtf8(bytes)) {
        qWarning("NdefRecordHandler: URI NDEF record contained URI with invalid UTF-8");
        return false;
    }

    // Only the schemes that are acted on directly must carry data; any other URI is left to the
    // application that opens it.
    const QString uri = utf8UpToNul(bytes);
    if (!isValidURIStart(uri))
        return true;

    const QStringList pieces = uri.split(QLatin1Char(':'), Qt::SkipEmptyParts);
    if (pieces.size() < 2 || pieces.at(1).startsWith(QLatin1Char('?'))
        || pieces.at(1).startsWith(QLatin1Char('#'))) {
        qWarning("NdefRecordHandler: URI '%s' does not have valid data", uri.toLocal8Bit().constData());
        return false;
    }
    return true;
}

bool NdefRecordHandlerPrivate::isValidURIStart(const QString& uri) const
{
    for (const QString& start : validURIStarts) {
        if (uri.startsWith(start))
            return true;
    }
    return false;
}

QString NdefRecordHandlerPrivate::uriString() const
{
    const URINDEFRecord* uri = uriRecord();
    if (!uri)
        return QString();

    QString text = utf8UpToNul(uri->getURI());
    if (!text.contains(QLatin1Char(':')))
        text.prepend(QLatin1String("http://"));
    // A relative file URI is taken to lie in the user's documents folder.
    if (text.startsWith(QLatin1String(relativeFilePrefix)) && !text.startsWith(QLatin1String(absoluteFilePrefix)))
        text.replace(0, int(qstrlen(relativeFilePrefix)), QLatin1String(documentsFilePrefix));
    return text;
}

QString NdefRecordHandlerPrivate::mimeType()
{
    if (!record || record->getType().getTNF() != NDEFRecordType::MimeMedia || !saveRecordData())
        return QString();
    return utf8(record->getType().getName());
}

QString NdefRecordHandlerPrivate::externalType() const
{
    if (!record || record->getType().getTNF() != NDEFRecordType::External)
        return QString();
    return utf8(record->getType().getName());
}

QString NdefRecordHandlerPrivate::externalTypeContent() const
{
    if (!record || record->getType().getTNF() != NDEFRecordType::External)
        return QString();
    const QByteArray payload = record->getPayload();
    if (!isValidUtf8(payload)) {
        qWarning("NdefRecordHandler: External NDEF record contained invalid UTF-8");
        return QString();
    }
    return utf8UpToNul(payload);
}

QString NdefRecordHandlerPrivate::recordType()
{
    if (!record)
        return QString();

    QString key = defaultApplicationKey;
    // All three are computed; asking for the MIME type saves the data file.
    const QString uri = uriString();
    const QString mime = mimeType();
    const QString external = externalType();
    if (!uri.isEmpty())
        key.append(uri.left(uri.indexOf(QLatin1Char(':'))));
    else if (!mime.isEmpty())
        key.append(mime);
    else if (!external.isEmpty())
        key.append(external);
    else
        key.append(latin1UpToNul(record->getType().getName()));
    return key;
}

// ---------------------------------------------------------------------------------------------------
// Support and content actions

void NdefRecordHandlerPrivate::resolveSupport()
{
    supported = false;
    if (!record)
        return;
    if (record->getType() == NDEFRecordType::Text) {
        supported = true;
        return;
    }

    const QString uri = uriString();
    const QString mime = mimeType();
    const QString external = externalType();
    if (!uri.isEmpty())
        createContentActionsForUri();
    else if (!mime.isEmpty())
        createContentActionsForMime(mime);
    else if (!external.isEmpty())
        createContentActionsForExternalType(external, externalTypeContent());
    else
        return;
    supported = !actions.isEmpty();
}

void NdefRecordHandlerPrivate::resolvePredefinedSupport()
{
    predefinedSupport = false;
    if (!record)
        return;
    if (record->getType() == NDEFRecordType::Text) {
        predefinedSupport = true; // stored as a note
        return;
    }

    const QString uri = uriString();
    if (!uri.isEmpty()) {
        if (uri.startsWith(QLatin1String("tel:")) || uri.startsWith(QLatin1String("callto:"))
            || uri.startsWith(QLatin1String("sms:"))) {
            predefinedSupport = true;
        } else if (uri.startsWith(QLatin1String("http:")) || uri.startsWith(QLatin1String("https:"))) {
            // With several possible handlers the user is offered the choice.
            predefinedSupport = actions.size() == 1;
        }
        return;
    }

    const int tnf = record->getType().getTNF();
    if (tnf == NDEFRecordType::MimeMedia) {
        const QString typeName = utf8(record->getType().getName());
        predefinedSupport = typeName.startsWith(QLatin1String(contactCardType), Qt::CaseInsensitive)
            || typeName.startsWith(QLatin1String(directoryType), Qt::CaseInsensitive);
    } else if (tnf == NDEFRecordType::External) {
        predefinedSupport = isStoreLink(externalType());
    }
}

void NdefRecordHandlerPrivate::createContentActionsForUri()
{
    const QString uri = uriString();
    if (uri.startsWith(QLatin1String(relativeFilePrefix))) {
        actions = ContentAction::Action::actionsForFile(QUrl(uri));
        return;
    }
    actions = ContentAction::Action::actionsForString(uri);
    if (actions.isEmpty() || !actions.first().isValid())
        actions = ContentAction::Action::actionsForScheme(uri);
}

// A contact card is offered only its default handler; other media types every handler. When the
// given MIME type finds nothing, the library is asked again to detect the type from the file.
void NdefRecordHandlerPrivate::createContentActionsForMime(const QString& mimeType)
{
    const bool contactCard = mimeType.startsWith(QLatin1String(contactCardType), Qt::CaseInsensitive);
    const QUrl url = QUrl::fromLocalFile(dataFileName);

    if (contactCard) {
        actions.clear();
        const ContentAction::Action action = ContentAction::Action::defaultActionForFile(url, mimeType);
        if (action.isValid())
            actions.append(action);
    } else {
        actions = ContentAction::Action::actionsForFile(url, mimeType);
    }
    if (!actions.isEmpty() && actions.first().isValid())
        return;

    if (contactCard) {
        actions.clear();
        const ContentAction::Action action = ContentAction::Action::defaultActionForFile(url);
        if (action.isValid())
            actions.append(action);
    } else {
        actions = ContentAction::Action::actionsForFile(url);
    }
}

void NdefRecordHandlerPrivate::createContentActionsForExternalType(const QString& externalType,
                                                                   const QString& content)
{
    if (isStoreLink(externalType)) {
        actions.clear();
        const ContentAction::Action action =
            ContentAction::Action::launcherAction(QLatin1String(storeClientEntry), QStringList() << content);
        if (action.isValid())
            actions.append(action);
        return;
    }
    actions = ContentAction::Action::actionsForString(content);
}

// ---------------------------------------------------------------------------------------------------
// Default application database

// The file is a Qt 4.6 data stream of the table: the number of pairs, then the key and value
// strings of each pair, written in the reverse of the table's iteration order.
void NdefRecordHandlerPrivate::loadDefaultApplicationDatabase() const
{
    databaseFileBytes.clear();
    databaseFileLoaded = false;
    const QFileInfo info(databaseFilePath);
    if (!info.exists())
        return;

    QFile file(info.absoluteFilePath());
    if (!file.open(QIODevice::ReadOnly)) {
        qWarning("NdefRecordHandler: Unable to read %s", databaseFilePath.toLocal8Bit().constData());
        return;
    }
    // One read of the whole (small) file; the bytes are kept so that a save can tell whether
    // anything would change.
    databaseFileBytes = file.readAll();
    const bool wholeFile = file.error() == QFileDevice::NoError;
    file.close();
    QDataStream stream(databaseFileBytes);
    stream.setVersion(QDataStream::Qt_4_6);
    // Replaces the table. Every pair is added, a later one hiding an earlier one of the same key;
    // a damaged or short file leaves the table empty.
    stream >> defaultApplicationDatabase;
    databaseFileLoaded = wholeFile;
}

bool NdefRecordHandlerPrivate::databaseHolds(const QString& key, const QString& application) const
{
    if (!databaseFileLoaded)
        return false;
    const auto it = defaultApplicationDatabase.constFind(key);
    return it != defaultApplicationDatabase.constEnd() && it.value() == application
        && it.value().isNull() == application.isNull();
}

void NdefRecordHandlerPrivate::saveDefaultApplicationDatabase()
{
    QByteArray bytes;
    {
        QDataStream stream(&bytes, QIODevice::WriteOnly);
        stream.setVersion(QDataStream::Qt_4_6);
        stream << defaultApplicationDatabase;
    }
    // Nothing to do when the file already holds exactly these bytes.
    if (databaseFileLoaded && bytes == databaseFileBytes)
        return;

    const QFileInfo info(databaseFilePath);
    if (!info.exists())
        QDir().mkpath(info.absolutePath());

    // The new contents go to a file beside the old one, which is renamed over it only once they are
    // all written: a crash, a full disk or a size limit leaves the previous file as it was. Where no
    // new file can be made beside it (a read-only directory with a writable file), the file is
    // written in place as before.
    QSaveFile file(info.absoluteFilePath());
    file.setDirectWriteFallback(true);
    if (!file.open(QIODevice::WriteOnly)) {
        qWarning("NdefRecordHandler: Unable to write %s", databaseFilePath.toLocal8Bit().constData());
        return;
    }
    // A short write shows up at the flush; commit() alone would rename a cut-short file in place.
    if (file.write(bytes) != bytes.size() || !file.flush())
        file.cancelWriting();
    if (file.commit()) {
        databaseFileBytes = bytes;
        databaseFileLoaded = true;
    }
}

// ---------------------------------------------------------------------------------------------------
// Record data files

bool NdefRecordHandlerPrivate::saveRecordData()
{
    if (!dataFileName.isEmpty())
        return true;

    const QString typeName = utf8(record->getType().getName());
    // The temporary file object makes the file and writes it; once the payload is in, only the name
    // is kept, and neither an object nor a descriptor stays with a saved file. dataFile() makes an
    // object for the name when asked.
    std::unique_ptr<QTemporaryFile> file(new QTemporaryFile(QLatin1String(dataFileTemplate)));
    if (!file->open()) {
        qWarning("temp file writting failed - handling mime tag. ");
        return false;
    }
    // A payload cut short by a full file system would be handed to an application as if whole: it
    // fails the save like a file that cannot be made.
    const QByteArray payload = record->getPayload();
    const bool written = file->write(payload) == payload.size() && file->flush();
    file->close();
    if (!written) {
        qWarning("temp file writting failed - handling mime tag. ");
        return false; // the object removes the file
    }
    const QString name = file->fileName();

    if (typeName.startsWith(QLatin1String(contactCardType), Qt::CaseInsensitive)) {
        QString contactName;
        QString details;
        if (!ContactExporter::resolveContactInfo(QFileInfo(name), contactName, details)) {
            qWarning("Tag contains corrupted contact information");
            return false; // the object removes the file
        }
    }
    file->setAutoRemove(false);
    dataFileName = name;
    return true;
}

} // namespace ConnUi
