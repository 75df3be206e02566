// Fake offline mode: the status comes from the registry.
#include "fakeplatform.h"
#include "offlinemode.h"

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
    FakePlatform::record(QStringLiteral("OfflineMode::currentStatus"));
    return FakePlatform::get(QStringLiteral("OfflineMode/status"), int(Online)).toInt();
}

} // namespace ConnUi
