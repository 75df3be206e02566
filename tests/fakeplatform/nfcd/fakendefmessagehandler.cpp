// Fake forwarding of NDEF data to registered applications: recorded.
#include "fakeplatform.h"
#include "ndefmessagehandler.h"

void ConnUi::NdefMessageHandler::forwardData(const QDBusObjectPath& target, const QByteArray& data) const
{
    FakePlatform::record(QStringLiteral("NdefMessageHandler::forwardData"),
                         {m_applicationId, target.path(), data});
}
