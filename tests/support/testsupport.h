#ifndef NFCUI_TESTSUPPORT_H
#define NFCUI_TESTSUPPORT_H

#include <QByteArray>
#include <QList>
#include <QString>
#include <QVariant>
#include <QtTest>

#include "fakeplatform.h"

// Compares two lists of call descriptions as text, so that a failure shows both lists whole.
#define COMPARE_CALLS(actual, expected)                                                                              \
    do {                                                                                                             \
        if (!QTest::qCompare(QStringList(actual).join(QLatin1Char('\n')),                                            \
                             QStringList(expected).join(QLatin1Char('\n')), #actual, #expected, __FILE__, __LINE__)) \
            return;                                                                                                  \
    } while (false)

// Helpers shared by the suites.
namespace TestSupport {

// Deletes now what was handed to deleteLater(), as the event loop would.
void deleteLaterNow();

// A recorded call as "Class::method arg1 arg2", pointer arguments left out, invalid ones as "<invalid>".
QString describe(const FakeCall& call);
// The recorded calls whose names start with one of the prefixes, described, in order.
QStringList callsOf(const QStringList& prefixes);
// The connection managers' connect and disconnect calls as "connect <address>", in order.
QStringList managerCalls();
// Banners as "event type|text", in order; the second and fourth arguments of SimpleNotification::show,
// which the plugin always leaves empty, are checked on the way.
QStringList banners();

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
