// Fake lock status: from the registry.
#include "fakeplatform.h"
#include "qsystemdeviceinfo.h"

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
