// The system bus policy of the NFC daemon link, loaded into a bus of the test's own. The test's user is
// made a stranger to the policy (the daemon's user is renamed to another account), so that what it
// checks is what every other user of an installed system gets.
#include <QtTest>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QTemporaryDir>

#include "testbusdaemon.h"

#include <unistd.h>

namespace {

// Answers every call of any interface at its path.
class Anything : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.orvan.nfc.UIAgent")
public Q_SLOTS:
    Q_SCRIPTABLE void Release() {}
};

class Handler : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.orvan.nfc.NdefHandler")
public Q_SLOTS:
    Q_SCRIPTABLE void HandleNdef(const QDBusObjectPath&, const QByteArray&) {}
};

} // namespace

class tst_BusPolicy : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir dir;
    TestBusDaemon bus;
    QString address;
    Anything agent;
    Handler handler;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(dir.isValid());
        QFile policy(QStringLiteral(NFCUI_DBUS_XML_DIR "/com.orvan.nfc.conf"));
        QVERIFY(policy.open(QIODevice::ReadOnly));
        QByteArray text = policy.readAll();
        QVERIFY2(text.contains("<policy user=\"root\">"), "the policy names no daemon user");
        // The daemon's user becomes an account that is not the test's.
        text.replace("<policy user=\"root\">", getuid() == 0 ? "<policy user=\"nobody\">" : "<policy user=\"root\">");
        QFile copy(dir.filePath(QStringLiteral("com.orvan.nfc.conf")));
        QVERIFY(copy.open(QIODevice::WriteOnly));
        copy.write(text);
        copy.close();

        QFile config(dir.filePath(QStringLiteral("bus.conf")));
        QVERIFY(config.open(QIODevice::WriteOnly));
        config.write("<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN\"\n"
                     " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
                     "<busconfig><type>system</type><listen>unix:dir=" + QFile::encodeName(dir.path()) + "</listen>\n"
                     "<auth>EXTERNAL</auth>\n"
                     "<policy context=\"default\"><allow user=\"*\"/><allow own=\"*\"/>"
                     "<allow send_destination=\"*\"/><allow receive_sender=\"*\"/></policy>\n"
                     "<include>" + QFile::encodeName(copy.fileName()) + "</include></busconfig>\n");
        config.close();

        QString error;
        QVERIFY2(bus.start({QStringLiteral("--config-file=") + config.fileName()}, &error), qPrintable(error));
        address = bus.address();

        QDBusConnection first = QDBusConnection::connectToBus(address, QStringLiteral("first"));
        QVERIFY2(first.isConnected(), qPrintable(first.lastError().message()));
        QVERIFY(first.registerObject(QStringLiteral("/com/orvan/nfc/ui_agent"), &agent,
                                     QDBusConnection::ExportScriptableSlots));
        QVERIFY(first.registerObject(QStringLiteral("/handler"), &handler, QDBusConnection::ExportScriptableSlots));
    }

    void cleanupTestCase()
    {
        QDBusConnection::disconnectFromBus(QStringLiteral("first"));
        QDBusConnection::disconnectFromBus(QStringLiteral("second"));
    }

    void otherUsersCannotOwnTheDaemonsName()
    {
        QDBusConnection second = QDBusConnection::connectToBus(address, QStringLiteral("second"));
        const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> reply =
            second.interface()->registerService(QStringLiteral("com.orvan.nfc"));
        QVERIFY(!reply.isValid());
        QCOMPARE(reply.error().name(), QStringLiteral("org.freedesktop.DBus.Error.AccessDenied"));
    }

    void otherNamesStayFree()
    {
        QDBusConnection second = QDBusConnection::connectToBus(address, QStringLiteral("second"));
        QVERIFY(second.registerService(QStringLiteral("com.example.Reader")));
        QVERIFY(second.unregisterService(QStringLiteral("com.example.Reader")));
    }

    void otherUsersCannotCallTheUIAgent()
    {
        QDBusConnection first = QDBusConnection::connectToBus(address, QStringLiteral("first"));
        QDBusConnection second = QDBusConnection::connectToBus(address, QStringLiteral("second"));
        const QDBusMessage call = QDBusMessage::createMethodCall(
            first.baseService(), QStringLiteral("/com/orvan/nfc/ui_agent"), QStringLiteral("com.orvan.nfc.UIAgent"),
            QStringLiteral("Release"));
        QDBusPendingCall pending = second.asyncCall(call);
        QTRY_VERIFY(pending.isFinished());
        QCOMPARE(pending.error().name(), QStringLiteral("org.freedesktop.DBus.Error.AccessDenied"));
    }

    void applicationsReceiveHandleNdef()
    {
        QDBusConnection first = QDBusConnection::connectToBus(address, QStringLiteral("first"));
        QDBusConnection second = QDBusConnection::connectToBus(address, QStringLiteral("second"));
        QDBusMessage call = QDBusMessage::createMethodCall(first.baseService(), QStringLiteral("/handler"),
                                                           QStringLiteral("com.orvan.nfc.NdefHandler"),
                                                           QStringLiteral("HandleNdef"));
        call << QVariant::fromValue(QDBusObjectPath(QStringLiteral("/com/orvan/nfc/adapter0/tag0"))) << QByteArray("x");
        QDBusPendingCall pending = second.asyncCall(call);
        QTRY_VERIFY(pending.isFinished());
        QVERIFY2(!pending.isError(), qPrintable(pending.error().message()));
    }
};

QTEST_GUILESS_MAIN(tst_BusPolicy)
#include "tst_buspolicy.moc"
