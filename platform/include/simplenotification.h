#ifndef CONNUI_SIMPLENOTIFICATION_H
#define CONNUI_SIMPLENOTIFICATION_H

#include <QString>

namespace ConnUi {

// Banners.
class SimpleNotification
{
public:
    // Shows a banner of the notification event type with the given summary, body and icon.
    static void show(const QString& eventType, const QString& summary, const QString& body,
                     const QString& icon);
};

} // namespace ConnUi

#endif
