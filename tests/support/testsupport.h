#ifndef NFCUI_TESTSUPPORT_H
#define NFCUI_TESTSUPPORT_H

#include <QByteArray>
#include <QList>
#include <QString>
#include <QVariant>

#include "fakeplatform.h"

// Helpers shared by the unit suites.
namespace TestSupport {

// The names of the recorded calls that start with the prefix, in order ("NfcAgent::" for the replies).
QStringList callsWithPrefix(const QString& prefix);

// Installs the English catalogue, so that qtTrId gives the texts a user reads. Returns false when the
// catalogue cannot be loaded.
bool loadTranslations();

// A Bluetooth device as the fake adapter lists it, and the fake adapter's device list.
QVariantMap bluetoothDevice(const QString& address, const QString& name, bool paired, bool connectable,
                            bool audioConnected);
void setBluetoothDevices(const QList<QVariantMap>& devices);

// The replies the fake agent sent, as "method arg1 arg2" (its destruction is not a reply).
QStringList agentReplies();

} // namespace TestSupport

#endif
