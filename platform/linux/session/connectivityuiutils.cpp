// Screen unblank and unlock: reported to the dialog server as indications until the session service
// is written.
#include "connectivityuiutils.h"
#include "uiindications.h"

namespace ConnUi {

void ConnectivityUIUtils::unblankDisplay()
{
    UiIndications::indicate(QStringLiteral("unblank"));
}

void ConnectivityUIUtils::unlockScreen()
{
    UiIndications::indicate(QStringLiteral("unlock"));
}

} // namespace ConnUi
