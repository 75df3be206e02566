// NfcAdapter: not written yet. Reports its absence once and answers as a machine without an NFC
// daemon would.
#include "nfcadapter.h"
#include "linuxlogging.h"
#include "placeholder.h"

class NfcAdapterPrivate
{
};

NfcAdapter* NfcAdapter::defaultAdapter()
{
    return new NfcAdapter;
}

NfcAdapter::NfcAdapter(QObject* parent)
    : QObject(parent), d(new NfcAdapterPrivate)
{
}

NfcAdapter::~NfcAdapter()
{
    delete d;
}

bool NfcAdapter::isValid() const
{
    nfcuiMissing(lcNfcd(), "The NFC daemon link (NfcAdapter)");
    return false;
}

bool NfcAdapter::isConfirmationEnabled() const
{
    return true;
}

void NfcAdapter::registerAgent(NfcAgent*)
{
    nfcuiMissing(lcNfcd(), "The NFC daemon link (NfcAdapter)");
}

void NfcAdapter::unregisterAgent(NfcAgent*)
{
    nfcuiMissing(lcNfcd(), "The NFC daemon link (NfcAdapter)");
}
