#include "testsupport.h"

#include <QCoreApplication>
#include <QFile>
#include <QTranslator>

#include <cerrno>
#include <cstring>
#include <sys/mount.h>

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

bool keepMountsPrivate(QString* error)
{
    if (::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0)
        return true;
    const int failure = errno;
    QFile mounts(QStringLiteral("/proc/self/mountinfo"));
    if (failure == EINVAL && mounts.open(QIODevice::ReadOnly) && !mounts.readAll().contains(" shared:"))
        return true;
    *error = QStringLiteral("the mounts of the test's namespace cannot be made private: %1")
                 .arg(QString::fromLocal8Bit(std::strerror(failure)));
    return false;
}

} // namespace TestSupport
