#ifndef QSYSTEMDEVICEINFO_H
#define QSYSTEMDEVICEINFO_H

#include <QFlags>
#include <QObject>

namespace QtMobility {

class QSystemDeviceInfoPrivate;

// The device's state as far as the UI needs it: whether it is locked.
class QSystemDeviceInfo : public QObject
{
    Q_OBJECT
public:
    enum LockType {
        UnknownLock = 0x0,
        PinLocked = 0x1,
        TouchAndKeyboardLocked = 0x2
    };
    Q_DECLARE_FLAGS(LockTypeFlags, LockType)
    Q_FLAG(LockTypeFlags)

    explicit QSystemDeviceInfo(QObject* parent = nullptr);
    ~QSystemDeviceInfo() override;

    LockTypeFlags lockStatus() const;

private:
    Q_DISABLE_COPY(QSystemDeviceInfo)
    QSystemDeviceInfoPrivate* const d;
};

} // namespace QtMobility

Q_DECLARE_OPERATORS_FOR_FLAGS(QtMobility::QSystemDeviceInfo::LockTypeFlags)

#endif
