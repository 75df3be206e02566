#ifndef NFCUI_TESTSUPPORT_H
#define NFCUI_TESTSUPPORT_H

#include <QByteArray>
#include <QList>
#include <QString>
#include <QVariant>

#include "calllog.h"
#include "fakeplatform.h"

// Helpers shared by the suites.
namespace TestSupport {

// Deletes now what was handed to deleteLater(), as the event loop would.
void deleteLaterNow();

// Installs the English catalogue, so that qtTrId gives the texts a user reads. Returns false when the
// catalogue cannot be loaded.
bool loadTranslations();

// A Bluetooth device as the fake adapter lists it, and the fake adapter's device list.
QVariantMap bluetoothDevice(const QString& address, const QString& name, bool paired, bool connectable,
                            bool audioConnected);
void setBluetoothDevices(const QList<QVariantMap>& devices);

// Called in a mount namespace of the process's own: makes sure that what the test mounts there stays
// there. Every mount is made private; where "/" is no mount point (in a chroot) that cannot be done,
// and it is enough that no mount of the namespace propagates to others. Otherwise returns false with
// the reason in *error.
bool keepMountsPrivate(QString* error);

} // namespace TestSupport

#endif
