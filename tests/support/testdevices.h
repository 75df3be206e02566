#ifndef NFCUI_TESTDEVICES_H
#define NFCUI_TESTDEVICES_H

#include <QString>

// The Bluetooth devices and NFC targets the suites hand over.
namespace TestDevices {

// The requested headset: its address, its name as the NFC daemon gives it and as the platform knows it,
// and its class of device (an audio headset).
inline const QString headset = QStringLiteral("00:1D:43:A0:00:01");
inline const QString daemonName = QStringLiteral("NFC Headset");
inline const QString platformName = QStringLiteral("Platform Headset");
inline const unsigned int headsetClass = 0x240404;

// Other devices the adapter knows.
inline const QString otherHeadset = QStringLiteral("00:1D:43:A0:00:02");
inline const QString otherName = QStringLiteral("Other Headset");
inline const QString thirdHeadset = QStringLiteral("00:1D:43:A0:00:03");
inline const QString thirdName = QStringLiteral("Third Headset");

// Targets the NFC daemon names its calls by.
inline const QString target1 = QStringLiteral("/com/orvan/nfc/target/1");
inline const QString target2 = QStringLiteral("/com/orvan/nfc/target/2");

} // namespace TestDevices

#endif
