#ifndef EXTENDEDSTORAGE_H
#define EXTENDEDSTORAGE_H

#include <QSharedPointer>

#include "extendedcalendar.h"

namespace CalendarStorage {

class ExtendedStoragePrivate;

// The persistent store of an extended calendar.
class ExtendedStorage
{
public:
    typedef QSharedPointer<ExtendedStorage> Ptr;

    // The user's default storage for the calendar. With validateNotebooks, incidences whose notebook
    // does not exist are refused on save.
    static Ptr defaultStorage(const ExtendedCalendar::Ptr& calendar, bool validateNotebooks = true);
    ~ExtendedStorage();

    bool open();
    bool load();
    bool save();
    bool close();

    ExtendedCalendar::Ptr calendar() const;

private:
    ExtendedStorage(const ExtendedCalendar::Ptr& calendar, bool validateNotebooks);
    Q_DISABLE_COPY(ExtendedStorage)
    ExtendedStoragePrivate* const d;
    friend class ExtendedStoragePrivate;
};

} // namespace CalendarStorage

#endif
