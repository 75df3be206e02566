// Fake lock status: from the registry.
#include "fakeplatform.h"
#include "qsystemdeviceinfo.h"

namespace QtMobility {

FAKEPLATFORM_STATELESS_QOBJECT(QSystemDeviceInfo)

QSystemDeviceInfo::LockTypeFlags QSystemDeviceInfo::lockStatus() const
{
    FakePlatform::record(QStringLiteral("QSystemDeviceInfo::lockStatus"));
    return LockTypeFlags(FakePlatform::get(QStringLiteral("QSystemDeviceInfo/lockStatus"), 0).toInt());
}

} // namespace QtMobility
