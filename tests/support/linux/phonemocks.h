#ifndef NFCUI_PHONEMOCKS_H
#define NFCUI_PHONEMOCKS_H

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <memory>

#include "mockservice.h"

// The mock services of the phone's outside services, each on the private bus and under the name where
// the Linux platform looks for it. start() them in the test; they stop when deleted.
namespace PhoneMocks {

// BlueZ 4 (tests/mocks/bluez4.py): "org.bluez" on the system bus, manager at "/".
std::unique_ptr<MockService> bluez4();
QString bluezAdapterPath();
// The object path the BlueZ 4 mock gives the device of that address.
QString bluezDevicePath(const QString& address);

// oFono: python-dbusmock's template with the project's corrections (tests/mocks/ofono.py).
std::unique_ptr<MockService> ofono();
QString ofonoModemPath(); // the template's first modem, "/ril_0"

// python-dbusmock's notification_daemon: "org.freedesktop.Notifications" on the session bus.
std::unique_ptr<MockService> notifications();
QString notificationsPath();

// tests/mocks/screensaver.py: "org.freedesktop.ScreenSaver" on the session bus.
std::unique_ptr<MockService> screenSaver();
QString screenSaverPath();

// python-dbusmock's logind: "org.freedesktop.login1" on the system bus.
std::unique_ptr<MockService> logind();
QString logindPath();

// tests/mocks/feedbackd.py: "org.sigxcpu.Feedback" on the session bus.
std::unique_ptr<MockService> feedbackd();
QString feedbackdPath();

// One org.freedesktop.Notifications.Notify call as the notification mock logged it.
struct Notification
{
    QString appName;
    uint replacesId = 0;
    QString icon;
    QString summary;
    QString body;
    QStringList actions;
    QVariantMap hints;
    int expireTimeout = 0;
};
QList<Notification> notificationsShown(const MockService& mock);

// The names of the calls logged on path, without dbusmock's own and the mock's test controls.
QStringList callNames(const MockService& mock, const QString& path);

} // namespace PhoneMocks

#endif
