#ifndef NFCUI_TESTDEVICES_H
#define NFCUI_TESTDEVICES_H

#include <QString>

// The Bluetooth devices and NFC targets the suites hand over.
namespace TestDevices {

// The requested headset: its address, its name as the NFC daemon gives it and as the platform knows it,
// and its class of device (an audio headset).
const QString headset = QStringLiteral("00:1D:43:A0:00:01");
const QString daemonName = QStringLiteral("NFC Headset");
const QString platformName = QStringLiteral("Platform Headset");
const unsigned int headsetClass = 0x240404;

// Other devices the adapter knows.
const QString otherHeadset = QStringLiteral("00:1D:43:A0:00:02");
const QString otherName = QStringLiteral("Other Headset");
const QString thirdHeadset = QStringLiteral("00:1D:43:A0:00:03");
const QString thirdName = QStringLiteral("Third Headset");

// Targets the NFC daemon names its calls by.
const QString target1 = QStringLiteral("/com/orvan/nfc/target/1");
const QString target2 = QStringLiteral("/com/orvan/nfc/target/2");

} // namespace TestDevices

#endif
