#ifndef NFCUI_MOCKSUITE_H
#define NFCUI_MOCKSUITE_H

#include <QString>
#include <QVariantMap>

#include <memory>

#include "mockservice.h"
#include "schemehandlers.h"

class QTemporaryDir;

// The set-up that the suites of the Linux platform share: mocks started once per suite on the private
// buses of scripts/isolated and brought back to their template's state before each test, recording
// URI scheme applications, and the logind session of this user. Each helper checks with QtTest's
// macros, so a failure fails the test function (or initTestCase, init) that called it.
namespace MockSuite {

// Fails unless the suite runs on private buses: no test may talk to the machine's own services.
void requirePrivateBuses();
// Starts mock on its private bus (after requirePrivateBuses()); it stays up for the suite.
void startOnPrivateBus(MockService& mock, const QVariantMap& parameters = QVariantMap());
// Starts mock again when a test stopped it, and loads its template again.
void restartAndReset(MockService& mock);

// Hides the machine's applications and installs SchemeHandlers writing under dir/recorders; must run
// before the first use of GIO in the process.
void recordSchemeHandlers(const QTemporaryDir& dir, std::unique_ptr<SchemeHandlers>& handlers);

// The logind session that addLoginSession() adds.
QString loginSessionPath();
// Adds session c1 of this user (uid 1000, seat0) to the logind mock, its LockedHint set to locked.
void addLoginSession(const MockService& logind, bool locked);

} // namespace MockSuite

#endif
