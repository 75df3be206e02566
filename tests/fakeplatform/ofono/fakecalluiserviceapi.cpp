// Fake call service: every call request is recorded.
#include "calluiserviceapi.h"
#include "fakeplatform.h"

namespace CallUi {

FAKEPLATFORM_STATELESS_QOBJECT(CallUiServiceApi)

bool CallUiServiceApi::RequestCellularCall(const QString& number)
{
    FakePlatform::record(QStringLiteral("CallUiServiceApi::RequestCellularCall"), {number});
    return true;
}

} // namespace CallUi
