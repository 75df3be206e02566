#ifndef BLUETOOTHCONNECTIONMANAGER_P_H
#define BLUETOOTHCONNECTIONMANAGER_P_H

#include <QDeadlineTimer>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>

class BluetoothConnectionManager;

class BluetoothConnectionManagerPrivate
{
public:
    enum Operation {
        Connect,
        Disconnect
    };

    BluetoothConnectionManagerPrivate(BluetoothConnectionManager* q, const QMap<QString, QVariant>& device);

    // The audio interfaces tried in turn: the device's audio as a whole, then its single profiles.
    static QStringList audioInterfaces();
    // The profiles this manager connects: headset, hands-free and A2DP sink.
    static QStringList connectableUuids();

    QString devicePath(const QDeadlineTimer& deadline);
    // Calls operation on the audio interface at index, and on the next one when the device lacks it.
    void call(Operation operation, int index);
    void fail(Operation operation, const QString& reason);
    void succeed(Operation operation);

    BluetoothConnectionManager* const q;
    QMap<QString, QVariant> device;
    QString path;
};

#endif
