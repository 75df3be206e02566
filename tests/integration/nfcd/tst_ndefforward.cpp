// NdefMessageHandler::forwardData: HandleNdef reaches a registered application on the private system
// bus without the caller waiting, and bad handler data gets a warning and no call.
#include <QtTest>

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusObjectPath>

#include "ndefmessagehandler.h"

namespace {

// A test application's NdefHandler object.
class Application : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.orvan.nfc.NdefHandler")
public:
    QList<QPair<QDBusObjectPath, QByteArray>> received;

public Q_SLOTS:
    Q_SCRIPTABLE void HandleNdef(const QDBusObjectPath& target, const QByteArray& data)
    {
        received.append({target, data});
    }
};

} // namespace

class tst_NdefForward : public QObject
{
    Q_OBJECT

private:
    QDBusConnection application{QDBusConnection::connectToBus(QDBusConnection::SystemBus,
                                                               QStringLiteral("application"))};
    Application handler;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(application.isConnected(), "no private system bus");
        QVERIFY(application.registerObject(QStringLiteral("/com/example/reader"), &handler,
                                           QDBusConnection::ExportScriptableSlots));
        QVERIFY(application.registerService(QStringLiteral("com.example.Reader")));
    }

    void init()
    {
        handler.received.clear();
    }

    void forwardDataReachesTheApplicationByUniqueName()
    {
        const ConnUi::NdefMessageHandler target(QStringLiteral("reader"), application.baseService(),
                                                QDBusObjectPath(QStringLiteral("/com/example/reader")), true);
        const QByteArray data("\xd1\x01\x05U\x04" "a.fi", 9);
        target.forwardData(QDBusObjectPath(QStringLiteral("/com/orvan/nfc/adapter0/tag3")), data);
        QTRY_COMPARE(handler.received.size(), 1);
        QCOMPARE(handler.received.at(0).first.path(), QStringLiteral("/com/orvan/nfc/adapter0/tag3"));
        QCOMPARE(handler.received.at(0).second, data);
    }

    void forwardDataReachesTheApplicationByWellKnownName()
    {
        const ConnUi::NdefMessageHandler target(QStringLiteral("reader"), QStringLiteral("com.example.Reader"),
                                                QDBusObjectPath(QStringLiteral("/com/example/reader")), false);
        target.forwardData(QDBusObjectPath(QStringLiteral("/com/orvan/nfc/adapter0/tag4")), QByteArray("x"));
        QTRY_COMPARE(handler.received.size(), 1);
        QCOMPARE(handler.received.at(0).second, QByteArray("x"));
    }

    void forwardDataDoesNotWaitForTheApplication()
    {
        // An application that is on the bus but never answers: the call returns at once.
        QDBusConnection silent = QDBusConnection::connectToBus(QDBusConnection::SystemBus, QStringLiteral("silent"));
        const ConnUi::NdefMessageHandler target(QStringLiteral("silent"), silent.baseService(),
                                                QDBusObjectPath(QStringLiteral("/nothing")), true);
        QElapsedTimer timer;
        timer.start();
        target.forwardData(QDBusObjectPath(QStringLiteral("/com/orvan/nfc/adapter0/tag5")), QByteArray("x"));
        QVERIFY(timer.elapsed() < 1000);
        QDBusConnection::disconnectFromBus(QStringLiteral("silent"));
    }

    void anEmptyBusNameWarnsAndCallsNothing()
    {
        const ConnUi::NdefMessageHandler target(QStringLiteral("reader"), QString(),
                                                QDBusObjectPath(QStringLiteral("/com/example/reader")), true);
        QTest::ignoreMessage(QtWarningMsg, "NdefMessageHandler: cannot forward data to \"reader\": bad bus name \"\"");
        target.forwardData(QDBusObjectPath(QStringLiteral("/com/orvan/nfc/adapter0/tag1")), QByteArray("x"));
        QTest::qWait(100);
        QCOMPARE(handler.received.size(), 0);
    }

    void aMalformedBusNameWarnsAndCallsNothing()
    {
        const ConnUi::NdefMessageHandler target(QStringLiteral("reader"), QStringLiteral("not a name"),
                                                QDBusObjectPath(QStringLiteral("/com/example/reader")), true);
        QTest::ignoreMessage(QtWarningMsg,
                             "NdefMessageHandler: cannot forward data to \"reader\": bad bus name \"not a name\"");
        target.forwardData(QDBusObjectPath(QStringLiteral("/com/orvan/nfc/adapter0/tag1")), QByteArray("x"));
    }

    void aMalformedPathWarnsAndCallsNothing()
    {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("invalid path")));
        const ConnUi::NdefMessageHandler target(QStringLiteral("reader"), application.baseService(),
                                                QDBusObjectPath(QStringLiteral("com//bad/")), true);
        QTest::ignoreMessage(QtWarningMsg,
                             "NdefMessageHandler: cannot forward data to \"reader\": bad object path \"\"");
        target.forwardData(QDBusObjectPath(QStringLiteral("/com/orvan/nfc/adapter0/tag1")), QByteArray("x"));
        QTest::qWait(100);
        QCOMPARE(handler.received.size(), 0);
    }

    void anEmptyPathWarnsAndCallsNothing()
    {
        const ConnUi::NdefMessageHandler target(QStringLiteral("reader"), application.baseService(),
                                                QDBusObjectPath(), true);
        QTest::ignoreMessage(QtWarningMsg,
                             "NdefMessageHandler: cannot forward data to \"reader\": bad object path \"\"");
        target.forwardData(QDBusObjectPath(QStringLiteral("/com/orvan/nfc/adapter0/tag1")), QByteArray("x"));
        QTest::qWait(100);
        QCOMPARE(handler.received.size(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_NdefForward)
#include "tst_ndefforward.moc"
