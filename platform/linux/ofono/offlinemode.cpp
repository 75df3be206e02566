// The offline (flight) mode is the first modem's Online property: a modem that is not online has its
// radio off. Without oFono or without modems nothing stops a call or a message here, so the status is
// then not offline.
#include "offlinemode.h"
#include "linuxlogging.h"
#include "ofonotypes.h"

namespace ConnUi {

class OfflineModePrivate
{
};

OfflineMode::OfflineMode(QObject* parent) : QObject(parent), d(new OfflineModePrivate)
{
}

OfflineMode::~OfflineMode()
{
    delete d;
}

int OfflineMode::currentStatus() const
{
    const OfonoObjectList modems = Ofono::modems();
    if (modems.isEmpty())
        return Unknown;
    const bool online = modems.first().properties.value(QStringLiteral("Online"), true).toBool();
    qCDebug(lcOfono, "OfflineMode: %s is %s", qUtf8Printable(modems.first().path.path()),
            online ? "online" : "offline");
    return online ? Online : Offline;
}

} // namespace ConnUi
