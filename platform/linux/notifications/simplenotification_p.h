#ifndef CONNUI_SIMPLENOTIFICATION_P_H
#define CONNUI_SIMPLENOTIFICATION_P_H

#include <QString>
#include <QVariantMap>

namespace ConnUi {

// What the Linux banners send, for their tests.
class SimpleNotificationPrivate
{
public:
    // The application name of every notification, and the desktop entry it names in its hints.
    static QString applicationName();
    static QString desktopEntry();
    // The hints of a banner of that event type: category (the event type, when there is one), transient
    // and desktop-entry.
    static QVariantMap hints(const QString& eventType);
};

} // namespace ConnUi

#endif
