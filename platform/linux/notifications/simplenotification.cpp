// Banners: reported to the dialog server as indications until the notification service is written.
#include "simplenotification.h"
#include "uiindications.h"

namespace ConnUi {

void SimpleNotification::show(const QString& eventType, const QString&, const QString& body, const QString&)
{
    UiIndications::indicate(QStringLiteral("banner"), eventType + QLatin1Char(' ') + body);
}

} // namespace ConnUi
