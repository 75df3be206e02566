#ifndef NFCUI_HANDOVERMOCKS_H
#define NFCUI_HANDOVERMOCKS_H

#include <QtTest>

#include <memory>

#include "bluezcontrol.h"
#include "mocksuite.h"
#include "phonemocks.h"

// The outside services of a whole Bluetooth handover: BlueZ 4 on the private system bus, the notification
// service for its banners and the screen saver that the request wakes, on the private session bus. They
// stop when the suite's object goes.
struct HandoverMocks
{
    std::unique_ptr<MockService> bluez = PhoneMocks::bluez4();
    std::unique_ptr<MockService> notifications = PhoneMocks::notifications();
    std::unique_ptr<MockService> screenSaver = PhoneMocks::screenSaver();

    // In initTestCase.
    void start()
    {
        MockSuite::startOnPrivateBus(*bluez);
        MockSuite::startOnPrivateBus(*notifications);
        MockSuite::startOnPrivateBus(*screenSaver);
    }

    // In init: BlueZ back to its template, with the adapter powered, and no banners shown yet.
    void resetWithPoweredAdapter() const
    {
        QVERIFY2(bluez->reset(), qPrintable(bluez->lastError()));
        QVERIFY(BluezControl::setAdapterProperty(*bluez, QStringLiteral("Powered"), true));
        QVERIFY(notifications->clearCalls(PhoneMocks::notificationsPath()));
    }
};

#endif
