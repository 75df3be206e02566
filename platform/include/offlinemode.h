#ifndef CONNUI_OFFLINEMODE_H
#define CONNUI_OFFLINEMODE_H

#include <QObject>

namespace ConnUi {

class OfflineModePrivate;

// The phone's offline (flight) mode.
class OfflineMode : public QObject
{
    Q_OBJECT
public:
    enum Status {
        Offline = 0, // radios off: no calls or messages
        Online = 1,
        Unknown = 2
    };
    Q_ENUM(Status)

    explicit OfflineMode(QObject* parent = nullptr);
    ~OfflineMode() override;

    int currentStatus() const;

private:
    Q_DISABLE_COPY(OfflineMode)
    OfflineModePrivate* const d;
};

} // namespace ConnUi

#endif
