#ifndef CONNUI_SIMPLENOTIFICATION_H
#define CONNUI_SIMPLENOTIFICATION_H

#include <QString>

namespace ConnUi {

// Banners.
class SimpleNotification
{
public:
    // Shows a banner of the notification event type ("x-orvan.nfc.connected"). text is what the banner
    // says; detail (a longer text under it) and icon may be empty.
    static void show(const QString& eventType, const QString& detail, const QString& text,
                     const QString& icon);
};

} // namespace ConnUi

#endif
