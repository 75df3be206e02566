// Calls: not written yet. No call is made.
#include "calluiserviceapi.h"
#include "linuxlogging.h"
#include "placeholder.h"

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

bool CallUiServiceApi::RequestCellularCall(const QString&)
{
    nfcuiMissing(lcOfono(), "Calls (CallUiServiceApi)");
    return false;
}

} // namespace CallUi
