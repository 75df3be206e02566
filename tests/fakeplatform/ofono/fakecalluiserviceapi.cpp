// Fake call service: every call request is recorded.
#include "calluiserviceapi.h"
#include "fakeplatform.h"

namespace CallUi {

class CallUiServiceApiPrivate
{
};

CallUiServiceApi::CallUiServiceApi(QObject* parent)
    : QObject(parent), d(new CallUiServiceApiPrivate)
{
}

CallUiServiceApi::~CallUiServiceApi()
{
    delete d;
}

bool CallUiServiceApi::RequestCellularCall(const QString& number)
{
    FakePlatform::record(QStringLiteral("CallUiServiceApi::RequestCellularCall"), {number});
    return true;
}

} // namespace CallUi
