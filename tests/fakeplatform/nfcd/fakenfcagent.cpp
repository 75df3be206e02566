// Fake NFC agent: tracked so that tests can fire its signals; every reply is recorded.
#include "fakeplatform.h"
#include "nfcagent.h"

class NfcAgentPrivate
{
};

NfcAgent::NfcAgent(QObject* parent)
    : QObject(parent), d(new NfcAgentPrivate)
{
    ConnUi::registerNdefMessageHandlerTypes();
    FakePlatform::track(this);
}

NfcAgent::~NfcAgent()
{
    FakePlatform::record(QStringLiteral("NfcAgent::~NfcAgent"));
    delete d;
}

QDBusObjectPath NfcAgent::objectPath() const
{
    return QDBusObjectPath(QStringLiteral("/com/orvan/nfc/ui_agent"));
}

void NfcAgent::dataDeliveryGranted(const QDBusObjectPath& target)
{
    FakePlatform::record(QStringLiteral("NfcAgent::dataDeliveryGranted"), {target.path()});
}

void NfcAgent::rejectDevice(const QDBusObjectPath& target)
{
    FakePlatform::record(QStringLiteral("NfcAgent::rejectDevice"), {target.path()});
}

void NfcAgent::acceptSharing(const QVariant& info)
{
    FakePlatform::record(QStringLiteral("NfcAgent::acceptSharing"), {info});
}

void NfcAgent::rejectSharing(const QVariant& info)
{
    FakePlatform::record(QStringLiteral("NfcAgent::rejectSharing"), {info});
}

void NfcAgent::btPairingRequestGranted(const QDBusObjectPath& target)
{
    FakePlatform::record(QStringLiteral("NfcAgent::btPairingRequestGranted"), {target.path()});
}

void NfcAgent::btConnectionRequestGranted(const QDBusObjectPath& target)
{
    FakePlatform::record(QStringLiteral("NfcAgent::btConnectionRequestGranted"), {target.path()});
}

void NfcAgent::btDisconnectionRequestGranted(const QDBusObjectPath& target)
{
    FakePlatform::record(QStringLiteral("NfcAgent::btDisconnectionRequestGranted"), {target.path()});
}

void NfcAgent::replyError(const QDBusObjectPath& target, const QString& reason)
{
    FakePlatform::record(QStringLiteral("NfcAgent::replyError"), {target.path(), reason});
}
