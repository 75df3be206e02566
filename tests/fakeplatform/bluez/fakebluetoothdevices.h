#ifndef FAKEBLUETOOTHDEVICES_H
#define FAKEBLUETOOTHDEVICES_H

// The fake adapter's devices, as the registry holds them under "BluetoothAdapter/devices".
#include <QList>
#include <QVariantMap>

#include "bluetoothdevice.h"
#include "fakeplatform.h"

namespace FakeBluetooth {
inline QList<QVariantMap> deviceMaps()
{
    QList<QVariantMap> maps;
    const QVariantList list = FakePlatform::get(QStringLiteral("BluetoothAdapter/devices")).toList();
    for (const QVariant& entry : list)
        maps.append(entry.toMap());
    return maps;
}

// The registry's current view of a device, falling back to the device's own properties.
inline QVariantMap currentProperties(const BluetoothDevice& device)
{
    for (const QVariantMap& map : deviceMaps()) {
        if (map.value(QStringLiteral("Address")).toString().compare(device.address(), Qt::CaseInsensitive) == 0)
            return map;
    }
    return device.properties();
}
} // namespace FakeBluetooth

#endif
