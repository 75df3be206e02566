// Fake screen control: recorded, and reported as indications like the real one.
#include "connectivityuiutils.h"
#include "fakeplatform.h"
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

} // namespace ConnUi
