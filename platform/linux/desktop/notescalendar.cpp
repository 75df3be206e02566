// The notes calendar of the Linux platform: an in-memory KCalendarCore calendar whose incidences belong
// to notebooks, stored as one iCalendar file in the user's data directory
// ($XDG_DATA_HOME/nfc-ui/notes.ics).
//
// KCalendarCore keeps notebook associations only in memory, so each incidence also carries its
// notebook uid in the custom property X-NFCUI-NOTEBOOK, which the iCalendar file keeps. Loading
// restores the associations from that property.
//
// Several storages may work on the file at once (one per text tag, each in a worker thread). A
// process-wide mutex serialises their loads and saves, and a save first takes in the incidences the
// file holds that its calendar does not, so that one storage's save never drops another's.
#include "extendedcalendar.h"
#include "extendedstorage.h"
#include "linuxlogging.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QMutexLocker>
#include <QSaveFile>
#include <QSet>
#include <QStandardPaths>

#include <KCalendarCore/ICalFormat>
#include <KCalendarCore/MemoryCalendar>

namespace CalendarStorage {

namespace {

// The custom property that stores an incidence's notebook uid in the iCalendar file.
const char* const NotebookProperty = "X-NFCUI-NOTEBOOK";

QString notebookProperty(const KCalendarCore::Incidence::Ptr& incidence)
{
    return incidence->nonKDECustomProperty(NotebookProperty);
}

// Guards the notes file against concurrent loads and saves from storages in other threads.
QMutex& fileMutex()
{
    static QMutex mutex;
    return mutex;
}

QString defaultFilePath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
           + QStringLiteral("/nfc-ui/notes.ics");
}

enum class ReadResult { Read, Missing, Failed };

// Parses the file into a fresh calendar. A missing or empty file reads as an empty calendar.
ReadResult readFile(const QString& path, const QTimeZone& timeZone, KCalendarCore::MemoryCalendar::Ptr* result)
{
    *result = KCalendarCore::MemoryCalendar::Ptr(new KCalendarCore::MemoryCalendar(timeZone));
    QFile file(path);
    if (!file.exists())
        return ReadResult::Missing;
    if (!file.open(QIODevice::ReadOnly)) {
        qCWarning(lcDesktop, "ExtendedStorage: Cannot read %s: %s", qPrintable(path), qPrintable(file.errorString()));
        return ReadResult::Failed;
    }
    const QByteArray data = file.readAll();
    if (data.trimmed().isEmpty())
        return ReadResult::Read;
    KCalendarCore::ICalFormat format;
    if (!format.fromRawString(*result, data)) {
        qCWarning(lcDesktop, "ExtendedStorage: %s is not a valid iCalendar file", qPrintable(path));
        return ReadResult::Failed;
    }
    return ReadResult::Read;
}

} // namespace

class ExtendedCalendarPrivate
{
public:
    explicit ExtendedCalendarPrivate(const QTimeZone& timeZone)
        : calendar(new KCalendarCore::MemoryCalendar(timeZone))
    {
    }

    bool contains(const KCalendarCore::Incidence::Ptr& incidence) const
    {
        return calendar->incidence(incidence->uid(), incidence->recurrenceId());
    }

    // Associates the incidence, already in the calendar, with the notebook in memory only.
    bool associate(const KCalendarCore::Incidence::Ptr& incidence, const QString& notebookUid)
    {
        if (!calendar->hasValidNotebook(notebookUid) && !calendar->addNotebook(notebookUid, true))
            return false;
        return calendar->setNotebook(incidence, notebookUid);
    }

    // Adds an incidence read from the file, with the notebook its custom property names; false when
    // the calendar already holds one of that uid and recurrence.
    bool takeIn(const KCalendarCore::Incidence::Ptr& stored)
    {
        if (contains(stored))
            return false;
        const KCalendarCore::Incidence::Ptr incidence(stored->clone());
        if (!calendar->addIncidence(incidence))
            return false;
        const QString notebookUid = notebookProperty(incidence);
        if (!notebookUid.isEmpty())
            associate(incidence, notebookUid);
        return true;
    }

    const KCalendarCore::MemoryCalendar::Ptr calendar;
};

ExtendedCalendar::ExtendedCalendar(const QTimeZone& timeZone)
    : d(new ExtendedCalendarPrivate(timeZone))
{
}

ExtendedCalendar::~ExtendedCalendar()
{
    delete d;
}

QTimeZone ExtendedCalendar::timeZone() const
{
    return d->calendar->timeZone();
}

bool ExtendedCalendar::addJournal(const KCalendarCore::Journal::Ptr& journal)
{
    if (!journal || d->contains(journal))
        return false;
    return d->calendar->addJournal(journal);
}

bool ExtendedCalendar::setNotebook(const KCalendarCore::Incidence::Ptr& incidence, const QString& notebookUid)
{
    if (!incidence || notebookUid.isEmpty() || !d->contains(incidence))
        return false;
    if (!d->associate(incidence, notebookUid))
        return false;
    incidence->setNonKDECustomProperty(NotebookProperty, notebookUid);
    return true;
}

QString ExtendedCalendar::notebook(const KCalendarCore::Incidence::Ptr& incidence) const
{
    if (!incidence)
        return QString();
    return d->calendar->notebook(incidence);
}

KCalendarCore::Journal::List ExtendedCalendar::journals() const
{
    return d->calendar->journals();
}

class ExtendedStoragePrivate
{
public:
    ExtendedStoragePrivate(const ExtendedCalendar::Ptr& calendar, bool validateNotebooks)
        : calendar(calendar), validateNotebooks(validateNotebooks)
    {
    }

    // Takes the file's incidences that the calendar lacks into it, and notes the file's notebooks.
    // Call with the file mutex held.
    ReadResult merge(ExtendedCalendarPrivate* target)
    {
        KCalendarCore::MemoryCalendar::Ptr stored;
        const ReadResult result = readFile(path, calendar->timeZone(), &stored);
        if (result == ReadResult::Failed)
            return result;
        const KCalendarCore::Incidence::List incidences = stored->rawIncidences();
        for (const KCalendarCore::Incidence::Ptr& incidence : incidences) {
            const QString notebookUid = notebookProperty(incidence);
            if (!notebookUid.isEmpty())
                storedNotebooks.insert(notebookUid);
            target->takeIn(incidence);
        }
        return result;
    }

    // With validation, every incidence must be in no notebook or in one the file already holds.
    bool notebooksValid(const ExtendedCalendarPrivate* target) const
    {
        if (!validateNotebooks)
            return true;
        const KCalendarCore::Incidence::List incidences = target->calendar->rawIncidences();
        for (const KCalendarCore::Incidence::Ptr& incidence : incidences) {
            const QString notebookUid = calendar->notebook(incidence);
            if (!notebookUid.isEmpty() && !storedNotebooks.contains(notebookUid)) {
                qCWarning(lcDesktop, "ExtendedStorage: Not saving: incidence %s is in notebook %s, which the storage does not hold",
                         qPrintable(incidence->uid()), qPrintable(notebookUid));
                return false;
            }
        }
        return true;
    }

    const ExtendedCalendar::Ptr calendar;
    const bool validateNotebooks;
    QString path;
    bool opened = false;
    // The notebooks that incidences in the file belong to, as last read.
    QSet<QString> storedNotebooks;
};

// The default storage is the iCalendar file $XDG_DATA_HOME/nfc-ui/notes.ics.
//
// With validateNotebooks, save() refuses a calendar in which an incidence belongs to a notebook that
// no incidence of the file belongs to yet; a new notebook therefore enters the file only through a
// storage made without validation.
ExtendedStorage::Ptr ExtendedStorage::defaultStorage(const ExtendedCalendar::Ptr& calendar, bool validateNotebooks)
{
    return Ptr(new ExtendedStorage(calendar, validateNotebooks));
}

ExtendedStorage::ExtendedStorage(const ExtendedCalendar::Ptr& calendar, bool validateNotebooks)
    : d(new ExtendedStoragePrivate(calendar, validateNotebooks))
{
}

ExtendedStorage::~ExtendedStorage()
{
    delete d;
}

// Makes sure the file's directory exists and that the file, if there, is a file that can be written.
bool ExtendedStorage::open()
{
    if (!d->calendar) {
        qCWarning(lcDesktop, "ExtendedStorage: No calendar to store");
        return false;
    }
    const QString path = defaultFilePath();
    const QString dirPath = QFileInfo(path).absolutePath();
    if (!QDir().mkpath(dirPath) || !QFileInfo(dirPath).isDir()) {
        qCWarning(lcDesktop, "ExtendedStorage: Cannot create the directory %s", qPrintable(dirPath));
        return false;
    }
    const QFileInfo dir(dirPath);
    const QFileInfo file(path);
    if (!dir.isWritable() || (file.exists() && (!file.isFile() || !file.isWritable()))) {
        qCWarning(lcDesktop, "ExtendedStorage: Cannot write %s", qPrintable(path));
        return false;
    }
    d->path = path;
    d->opened = true;
    return true;
}

// Reads the file's incidences into the calendar; those the calendar already holds are kept as they are.
bool ExtendedStorage::load()
{
    if (!d->opened) {
        qCWarning(lcDesktop, "ExtendedStorage: load() before open()");
        return false;
    }
    QMutexLocker locker(&fileMutex());
    return d->merge(d->calendar->d) != ReadResult::Failed;
}

// Writes the calendar atomically over the file. The file's incidences that the calendar lacks (stored
// meanwhile by another storage) are first added to the calendar, so that they are written too. Refuses
// to write over a file it cannot read.
bool ExtendedStorage::save()
{
    if (!d->opened) {
        qCWarning(lcDesktop, "ExtendedStorage: save() before open()");
        return false;
    }
    QMutexLocker locker(&fileMutex());
    if (d->merge(d->calendar->d) == ReadResult::Failed) {
        // Writing now would replace notes that could not be read.
        qCWarning(lcDesktop, "ExtendedStorage: Not saving over %s", qPrintable(d->path));
        return false;
    }
    if (!d->notebooksValid(d->calendar->d))
        return false;

    KCalendarCore::ICalFormat format;
    const QByteArray data = format.toString(d->calendar->d->calendar).toUtf8();
    if (data.isEmpty()) {
        qCWarning(lcDesktop, "ExtendedStorage: Cannot convert the calendar to iCalendar");
        return false;
    }
    QSaveFile file(d->path);
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size() || !file.commit()) {
        qCWarning(lcDesktop, "ExtendedStorage: Cannot write %s: %s", qPrintable(d->path), qPrintable(file.errorString()));
        return false;
    }
    const KCalendarCore::Incidence::List incidences = d->calendar->d->calendar->rawIncidences();
    for (const KCalendarCore::Incidence::Ptr& incidence : incidences) {
        const QString notebookUid = d->calendar->notebook(incidence);
        if (!notebookUid.isEmpty())
            d->storedNotebooks.insert(notebookUid);
    }
    return true;
}

bool ExtendedStorage::close()
{
    d->opened = false;
    return true;
}

ExtendedCalendar::Ptr ExtendedStorage::calendar() const
{
    return d->calendar;
}

} // namespace CalendarStorage
