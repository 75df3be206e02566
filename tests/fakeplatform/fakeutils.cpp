// Fake screen, banner, offline mode, contact card and lock status services.
#include "connectivityuiutils.h"
#include "contactexporter.h"
#include "fakeplatform.h"
#include "offlinemode.h"
#include "qsystemdeviceinfo.h"
#include "simplenotification.h"
#include "uiindications.h"

namespace ConnUi {

void ConnectivityUIUtils::unblankDisplay()
{
    FakePlatform::record(QStringLiteral("ConnectivityUIUtils::unblankDisplay"));
    UiIndications::indicate(QStringLiteral("unblank"));
}

void ConnectivityUIUtils::unlockScreen()
{
    FakePlatform::record(QStringLiteral("ConnectivityUIUtils::unlockScreen"));
    UiIndications::indicate(QStringLiteral("unlock"));
}

void SimpleNotification::show(const QString& eventType, const QString& summary, const QString& body,
                              const QString& icon)
{
    FakePlatform::record(QStringLiteral("SimpleNotification::show"), {eventType, summary, body, icon});
}

class OfflineModePrivate
{
};

OfflineMode::OfflineMode(QObject* parent)
    : QObject(parent), d(new OfflineModePrivate)
{
}

OfflineMode::~OfflineMode()
{
    delete d;
}

int OfflineMode::currentStatus() const
{
    FakePlatform::record(QStringLiteral("OfflineMode::currentStatus"));
    return FakePlatform::get(QStringLiteral("OfflineMode/status"), int(Online)).toInt();
}

bool ContactExporter::resolveContactInfo(const QFileInfo& file, QString& name, QString& details)
{
    Q_UNUSED(name)
    Q_UNUSED(details)
    FakePlatform::record(QStringLiteral("ContactExporter::resolveContactInfo"), {file.absoluteFilePath()});
    return FakePlatform::get(QStringLiteral("ContactExporter/valid"), true).toBool();
}

} // namespace ConnUi

namespace QtMobility {

class QSystemDeviceInfoPrivate
{
};

QSystemDeviceInfo::QSystemDeviceInfo(QObject* parent)
    : QObject(parent), d(new QSystemDeviceInfoPrivate)
{
}

QSystemDeviceInfo::~QSystemDeviceInfo()
{
    delete d;
}

QSystemDeviceInfo::LockTypeFlags QSystemDeviceInfo::lockStatus() const
{
    FakePlatform::record(QStringLiteral("QSystemDeviceInfo::lockStatus"));
    return LockTypeFlags(FakePlatform::get(QStringLiteral("QSystemDeviceInfo/lockStatus"), 0).toInt());
}

} // namespace QtMobility
