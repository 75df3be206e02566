// The device lock status: not written yet. The status is unknown.
#include "qsystemdeviceinfo.h"
#include "linuxlogging.h"
#include "placeholder.h"

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
    nfcuiMissing(lcSession(), "The device lock status (QSystemDeviceInfo)");
    return UnknownLock;
}

} // namespace QtMobility
