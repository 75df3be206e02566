#ifndef CONNUI_NFCPAIRINGDIALOG_H
#define CONNUI_NFCPAIRINGDIALOG_H

#include "dialog.h"

namespace ConnUi {

// Asks whether a Bluetooth device found through NFC may be paired.
class NfcPairingDialog : public Dialog
{
    Q_OBJECT
    Q_PROPERTY(uint classOfDevice READ classOfDevice)
public:
    explicit NfcPairingDialog(unsigned int classOfDevice, QObject* parent = nullptr);

    unsigned int classOfDevice() const { return m_classOfDevice; }

private:
    unsigned int m_classOfDevice;
};

} // namespace ConnUi

#endif
