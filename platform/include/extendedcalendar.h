#ifndef EXTENDEDCALENDAR_H
#define EXTENDEDCALENDAR_H

#include <QSharedPointer>
#include <QString>
#include <QTimeZone>

#include <KCalendarCore/Incidence>
#include <KCalendarCore/Journal>

namespace CalendarStorage {

class ExtendedCalendarPrivate;
class ExtendedStorage;

// A calendar whose incidences belong to notebooks, kept in memory and filled and saved by its
// storage (ExtendedStorage).
class ExtendedCalendar
{
public:
    typedef QSharedPointer<ExtendedCalendar> Ptr;

    explicit ExtendedCalendar(const QTimeZone& timeZone);
    ~ExtendedCalendar();

    QTimeZone timeZone() const;

    bool addJournal(const KCalendarCore::Journal::Ptr& journal);
    // Puts the incidence into the notebook of that uid.
    bool setNotebook(const KCalendarCore::Incidence::Ptr& incidence, const QString& notebookUid);
    QString notebook(const KCalendarCore::Incidence::Ptr& incidence) const;
    KCalendarCore::Journal::List journals() const;

private:
    Q_DISABLE_COPY(ExtendedCalendar)
    ExtendedCalendarPrivate* const d;
    friend class ExtendedCalendarPrivate;
    friend class ExtendedStorage;
};

} // namespace CalendarStorage

#endif
