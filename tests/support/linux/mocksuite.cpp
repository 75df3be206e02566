#include "mocksuite.h"
#include "phonemocks.h"

#include <QTemporaryDir>
#include <QtTest>

namespace MockSuite {

void requirePrivateBuses()
{
    QVERIFY2(!qEnvironmentVariableIsEmpty("NFCUI_PRIVATE_BUSES"), "run through scripts/isolated");
}

void startOnPrivateBus(MockService& mock, const QVariantMap& parameters)
{
    QVERIFY2(!qEnvironmentVariableIsEmpty("NFCUI_PRIVATE_BUSES"), "run through scripts/isolated");
    QVERIFY2(mock.start(parameters), qPrintable(mock.lastError()));
}

void restartAndReset(MockService& mock)
{
    if (!mock.isOnBus())
        QVERIFY2(mock.start(), qPrintable(mock.lastError()));
    QVERIFY2(mock.reset(), qPrintable(mock.lastError()));
}

void recordSchemeHandlers(const QTemporaryDir& dir, std::unique_ptr<SchemeHandlers>& handlers)
{
    QVERIFY(dir.isValid());
    const QString isolated = SchemeHandlers::isolate(dir.path());
    QVERIFY2(isolated.isEmpty(), qPrintable(isolated));
    handlers = std::make_unique<SchemeHandlers>(dir.path() + QStringLiteral("/recorders"));
}

QString loginSessionPath()
{
    return QStringLiteral("/org/freedesktop/login1/session/c1");
}

void addLoginSession(const MockService& logind, bool locked)
{
    const QDBusMessage added =
        logind.call(PhoneMocks::logindPath(), QStringLiteral("org.freedesktop.DBus.Mock"), QStringLiteral("AddSession"),
                    {QStringLiteral("c1"), QStringLiteral("seat0"), 1000u, QStringLiteral("user"), true});
    QCOMPARE(added.type(), QDBusMessage::ReplyMessage);
    QVERIFY2(logind.control(loginSessionPath(), QStringLiteral("org.freedesktop.login1.Session"),
                            QStringLiteral("SetLockedHint"), {locked}),
             qPrintable(logind.lastError()));
}

} // namespace MockSuite
