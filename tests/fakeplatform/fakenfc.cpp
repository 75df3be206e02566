// Fake NFC daemon link: the adapter answers from the registry, the agent records every reply.
#include "fakeplatform.h"
#include "ndefmessagehandler.h"
#include "nfcadapter.h"
#include "nfcagent.h"

class NfcAdapterPrivate
{
};

NfcAdapter* NfcAdapter::defaultAdapter()
{
    FakePlatform::record(QStringLiteral("NfcAdapter::defaultAdapter"));
    if (!FakePlatform::get(QStringLiteral("NfcAdapter/exists"), true).toBool())
        return nullptr;
    NfcAdapter* adapter = new NfcAdapter;
    FakePlatform::track(adapter);
    return adapter;
}

NfcAdapter::NfcAdapter(QObject* parent)
    : QObject(parent), d(new NfcAdapterPrivate)
{
}

NfcAdapter::~NfcAdapter()
{
    FakePlatform::record(QStringLiteral("NfcAdapter::~NfcAdapter"));
    delete d;
}

bool NfcAdapter::isValid() const
{
    return FakePlatform::get(QStringLiteral("NfcAdapter/valid"), true).toBool();
}

bool NfcAdapter::isConfirmationEnabled() const
{
    FakePlatform::record(QStringLiteral("NfcAdapter::isConfirmationEnabled"));
    return FakePlatform::get(QStringLiteral("NfcAdapter/confirmationEnabled"), true).toBool();
}

void NfcAdapter::registerAgent(NfcAgent* agent)
{
    FakePlatform::record(QStringLiteral("NfcAdapter::registerAgent"), {QVariant::fromValue<QObject*>(agent)});
}

void NfcAdapter::unregisterAgent(NfcAgent* agent)
{
    FakePlatform::record(QStringLiteral("NfcAdapter::unregisterAgent"), {QVariant::fromValue<QObject*>(agent)});
}

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

void ConnUi::NdefMessageHandler::forwardData(const QDBusObjectPath& target, const QByteArray& data) const
{
    FakePlatform::record(QStringLiteral("NdefMessageHandler::forwardData"),
                         {m_applicationId, target.path(), data});
}
