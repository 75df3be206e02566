#include "testsupport.h"

#include <QCoreApplication>
#include <QTranslator>

namespace TestSupport {

void deleteLaterNow()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

bool loadTranslations()
{
    static QTranslator* translator = nullptr;
    if (translator)
        return true;
    QTranslator* candidate = new QTranslator(QCoreApplication::instance());
    if (!candidate->load(QStringLiteral(NFCUI_TRANSLATIONS_QM))) {
        delete candidate;
        return false;
    }
    QCoreApplication::installTranslator(candidate);
    translator = candidate;
    return true;
}

QVariantMap bluetoothDevice(const QString& address, const QString& name, bool paired, bool connectable,
                            bool audioConnected)
{
    return QVariantMap{{QStringLiteral("Address"), address},
                       {QStringLiteral("Name"), name},
                       {QStringLiteral("Paired"), paired},
                       {QStringLiteral("Connectable"), connectable},
                       {QStringLiteral("AudioConnected"), audioConnected}};
}

void setBluetoothDevices(const QList<QVariantMap>& devices)
{
    QVariantList list;
    for (const QVariantMap& device : devices)
        list.append(device);
    FakePlatform::set(QStringLiteral("BluetoothAdapter/devices"), list);
}

} // namespace TestSupport
