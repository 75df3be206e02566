// Fake NFC adapter: validity and the confirmation setting come from the registry; registrations are
// recorded.
#include "fakeplatform.h"
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
