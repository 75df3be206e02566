// OfflineMode: not written yet. The status is unknown.
#include "offlinemode.h"
#include "linuxlogging.h"
#include "placeholder.h"

namespace ConnUi {

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
    nfcuiMissing(lcOfono(), "The offline mode (OfflineMode)");
    return Unknown;
}

} // namespace ConnUi
