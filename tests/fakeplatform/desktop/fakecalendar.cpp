// Fake calendar storage: opening and adding can be made to fail; save() records every journal with its
// uid, description and notebook.
#include "extendedcalendar.h"
#include "extendedstorage.h"
#include "fakeplatform.h"

#include <QHash>

namespace CalendarStorage {

class ExtendedCalendarPrivate
{
public:
    QTimeZone timeZone;
    KCalendarCore::Journal::List journals;
    QHash<QString, QString> notebooks; // incidence uid -> notebook uid
};

ExtendedCalendar::ExtendedCalendar(const QTimeZone& timeZone)
    : d(new ExtendedCalendarPrivate)
{
    d->timeZone = timeZone;
}

ExtendedCalendar::~ExtendedCalendar()
{
    delete d;
}

QTimeZone ExtendedCalendar::timeZone() const
{
    return d->timeZone;
}

bool ExtendedCalendar::addJournal(const KCalendarCore::Journal::Ptr& journal)
{
    FakePlatform::record(QStringLiteral("ExtendedCalendar::addJournal"), {journal ? journal->uid() : QString()});
    if (!journal || FakePlatform::get(QStringLiteral("ExtendedCalendar/addFails"), false).toBool())
        return false;
    d->journals.append(journal);
    return true;
}

bool ExtendedCalendar::setNotebook(const KCalendarCore::Incidence::Ptr& incidence, const QString& notebookUid)
{
    FakePlatform::record(QStringLiteral("ExtendedCalendar::setNotebook"),
                         {incidence ? incidence->uid() : QString(), notebookUid});
    if (!incidence)
        return false;
    d->notebooks.insert(incidence->uid(), notebookUid);
    return true;
}

QString ExtendedCalendar::notebook(const KCalendarCore::Incidence::Ptr& incidence) const
{
    return incidence ? d->notebooks.value(incidence->uid()) : QString();
}

KCalendarCore::Journal::List ExtendedCalendar::journals() const
{
    return d->journals;
}

class ExtendedStoragePrivate
{
public:
    ExtendedCalendar::Ptr calendar;
    bool validateNotebooks;
};

ExtendedStorage::Ptr ExtendedStorage::defaultStorage(const ExtendedCalendar::Ptr& calendar, bool validateNotebooks)
{
    FakePlatform::record(QStringLiteral("ExtendedStorage::defaultStorage"), {validateNotebooks});
    return Ptr(new ExtendedStorage(calendar, validateNotebooks));
}

ExtendedStorage::ExtendedStorage(const ExtendedCalendar::Ptr& calendar, bool validateNotebooks)
    : d(new ExtendedStoragePrivate{calendar, validateNotebooks})
{
}

ExtendedStorage::~ExtendedStorage()
{
    delete d;
}

bool ExtendedStorage::open()
{
    FakePlatform::record(QStringLiteral("ExtendedStorage::open"));
    return !FakePlatform::get(QStringLiteral("ExtendedStorage/openFails"), false).toBool();
}

bool ExtendedStorage::load()
{
    FakePlatform::record(QStringLiteral("ExtendedStorage::load"));
    return true;
}

// Records one map per journal: "uid", "description", "notebook".
bool ExtendedStorage::save()
{
    QVariantList saved;
    for (const KCalendarCore::Journal::Ptr& journal : d->calendar->journals()) {
        saved.append(QVariantMap{{QStringLiteral("uid"), journal->uid()},
                                 {QStringLiteral("description"), journal->description()},
                                 {QStringLiteral("notebook"), d->calendar->notebook(journal)}});
    }
    FakePlatform::record(QStringLiteral("ExtendedStorage::save"), saved);
    return true;
}

bool ExtendedStorage::close()
{
    FakePlatform::record(QStringLiteral("ExtendedStorage::close"));
    return true;
}

ExtendedCalendar::Ptr ExtendedStorage::calendar() const
{
    return d->calendar;
}

} // namespace CalendarStorage
