// Fake offline mode: the status comes from the registry.
#include "fakeplatform.h"
#include "offlinemode.h"

namespace ConnUi {

FAKEPLATFORM_STATELESS_QOBJECT(OfflineMode)

int OfflineMode::currentStatus() const
{
    FakePlatform::record(QStringLiteral("OfflineMode::currentStatus"));
    return FakePlatform::get(QStringLiteral("OfflineMode/status"), int(Online)).toInt();
}

} // namespace ConnUi
