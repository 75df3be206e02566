// Fake banners: recorded.
#include "fakeplatform.h"
#include "simplenotification.h"

namespace ConnUi {

void SimpleNotification::show(const QString& eventType, const QString& summary, const QString& body,
                              const QString& icon)
{
    FakePlatform::record(QStringLiteral("SimpleNotification::show"), {eventType, summary, body, icon});
}

} // namespace ConnUi
