#ifndef BLUETOOTHADAPTER_P_H
#define BLUETOOTHADAPTER_P_H

#include <QString>

#include <memory>

class BluetoothAdapter;
class BluezAdapterProxy;
class BluezManagerProxy;
class QDBusServiceWatcher;

class BluetoothAdapterPrivate
{
public:
    explicit BluetoothAdapterPrivate(BluetoothAdapter* q);
    ~BluetoothAdapterPrivate();

    // Follows the adapter at path (empty: none): its properties and their changes.
    void follow(const QString& path);
    // Asks BlueZ again which adapter is the default one, without waiting.
    void refollow();
    // Emits propertyChanged("powered") when the state changes, or on every report BlueZ sends.
    void setPowered(bool powered, bool reported);

    BluetoothAdapter* const q;
    std::unique_ptr<BluezManagerProxy> manager;
    std::unique_ptr<BluezAdapterProxy> adapter;
    std::unique_ptr<QDBusServiceWatcher> watcher;
    QString path;
    bool valid = false;
    bool powered = false;
};

#endif
