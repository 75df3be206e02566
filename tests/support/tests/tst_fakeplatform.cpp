// The fake platform's registry: typed answers reach the fakes that read them, and a key or call name
// that no fake knows stops the test at once instead of letting a comparison pass unnoticed.
//
// A stopped test cannot be watched from inside, so each mistake is made by a second run of this program
// (chosen with NFCUI_FAKEPLATFORM_MISTAKE), whose end and message the test looks at.
#include <QProcess>
#include <QtTest>

#include "bluetoothadapter.h"
#include "bluetoothdevice.h"
#include "fakeplatform.h"
#include "nfcadapter.h"
#include "offlinemode.h"
#include "qsystemdeviceinfo.h"

namespace {

const char mistakeVariable[] = "NFCUI_FAKEPLATFORM_MISTAKE";

// Makes the named mistake; returns only when the registry let it pass.
void makeMistake(const QByteArray& mistake)
{
    if (mistake == "set")
        FakePlatform::set(QStringLiteral("NfcAdapter/confirmationEnabed"), false);
    else if (mistake == "get")
        FakePlatform::get(QStringLiteral("Nowhere/answer"));
    else if (mistake == "unset")
        FakePlatform::unset(QStringLiteral("BluetoothAdapter/power"));
    else if (mistake == "count")
        FakePlatform::count(QStringLiteral("NfcAgent::acceptSharin"));
    else if (mistake == "record")
        FakePlatform::record(QStringLiteral("Nobody::calls"));
}

} // namespace

class tst_FakePlatform : public QObject
{
    Q_OBJECT

private:
    // Runs this program again to make the mistake; its exit and its error output.
    static bool runMistake(const QByteArray& mistake, QProcess::ExitStatus* status, int* code, QString* output)
    {
        QProcess child;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QLatin1String(mistakeVariable), QString::fromLatin1(mistake));
        child.setProcessEnvironment(environment);
        child.setProcessChannelMode(QProcess::MergedChannels);
        child.start(QCoreApplication::applicationFilePath(), QStringList());
        if (!child.waitForFinished(30000))
            return false;
        *status = child.exitStatus();
        *code = child.exitCode();
        *output = QString::fromLocal8Bit(child.readAll());
        return true;
    }

private Q_SLOTS:
    void init()
    {
        FakePlatform::reset();
    }

    void mistakeStopsTheTestNamingTheName_data()
    {
        QTest::addColumn<QByteArray>("mistake");
        QTest::addColumn<QString>("message");
        QTest::newRow("set") << QByteArray("set")
                             << QStringLiteral("no fake reads the key \"NfcAdapter/confirmationEnabed\"");
        QTest::newRow("get") << QByteArray("get") << QStringLiteral("no fake reads the key \"Nowhere/answer\"");
        QTest::newRow("unset") << QByteArray("unset")
                               << QStringLiteral("no fake reads the key \"BluetoothAdapter/power\"");
        QTest::newRow("count") << QByteArray("count")
                               << QStringLiteral("no fake records the call \"NfcAgent::acceptSharin\"");
        QTest::newRow("record") << QByteArray("record")
                                << QStringLiteral("no fake records the call \"Nobody::calls\"");
    }

    void mistakeStopsTheTestNamingTheName()
    {
        QFETCH(QByteArray, mistake);
        QFETCH(QString, message);
        QProcess::ExitStatus status = QProcess::NormalExit;
        int code = 0;
        QString output;
        QVERIFY2(runMistake(mistake, &status, &code, &output), "the second run did not finish");
        QVERIFY2(status == QProcess::CrashExit || code != 0, qPrintable(output));
        QVERIFY2(output.contains(message), qPrintable(output));
        QVERIFY2(!output.contains(QLatin1String("mistake let through")), qPrintable(output));
    }

    void knownKeysAndCallsAreAccepted()
    {
        QVERIFY(FakePlatform::isKnownKey(QStringLiteral("NfcAdapter/confirmationEnabled")));
        QVERIFY(FakePlatform::isKnownKey(QStringLiteral("ContentAction/string/http://host")));
        QVERIFY(FakePlatform::isKnownKey(QStringLiteral("ContentAction/file/*/image/png")));
        QVERIFY(!FakePlatform::isKnownKey(QStringLiteral("ContentAction/strings/x")));
        QVERIFY(FakePlatform::isKnownCall(QStringLiteral("NfcAgent::acceptSharing")));
        QVERIFY(!FakePlatform::isKnownCall(QStringLiteral("NfcAgent::")));
        QCOMPARE(FakePlatform::count(QStringLiteral("NfcAgent::acceptSharing")), 0);
    }

    void confirmationSetterReachesTheNfcAdapter()
    {
        QScopedPointer<NfcAdapter> adapter(NfcAdapter::defaultAdapter());
        QVERIFY(adapter->isConfirmationEnabled());
        FakePlatform::setConfirmationEnabled(false);
        QVERIFY(!adapter->isConfirmationEnabled());
    }

    void lockStatusSetterReachesTheDeviceInfo()
    {
        QtMobility::QSystemDeviceInfo info;
        QCOMPARE(int(info.lockStatus()), 0);
        FakePlatform::setLockStatus(QtMobility::QSystemDeviceInfo::PinLocked);
        QCOMPARE(int(info.lockStatus()), int(QtMobility::QSystemDeviceInfo::PinLocked));
    }

    void offlineStatusSetterReachesOfflineMode()
    {
        ConnUi::OfflineMode mode;
        QCOMPARE(mode.currentStatus(), int(ConnUi::OfflineMode::Online));
        FakePlatform::setOfflineStatus(ConnUi::OfflineMode::Offline);
        QCOMPARE(mode.currentStatus(), int(ConnUi::OfflineMode::Offline));
    }

    void addedBluetoothDevicesAreListedInOrder()
    {
        FakePlatform::addBluetoothDevice(QStringLiteral("00:00:00:00:00:01"), QStringLiteral("First"));
        FakePlatform::addBluetoothDevice(QStringLiteral("00:00:00:00:00:02"), QStringLiteral("Second"), false);
        QScopedPointer<BluetoothAdapter> adapter(BluetoothAdapter::defaultAdapter());
        const QList<BluetoothDevice> devices = adapter->listDevices();
        QCOMPARE(devices.size(), 2);
        QCOMPARE(devices.at(0).name(), QStringLiteral("First"));
        QVERIFY(devices.at(0).isPaired());
        QCOMPARE(devices.at(1).address(), QStringLiteral("00:00:00:00:00:02"));
        QVERIFY(!devices.at(1).isPaired());
    }

    void poweredSetterReachesTheBluetoothAdapter()
    {
        QScopedPointer<BluetoothAdapter> adapter(BluetoothAdapter::defaultAdapter());
        FakePlatform::setBluetoothPowered(false);
        QVERIFY(!adapter->isPowered());
        FakePlatform::setBluetoothPowered(true);
        QVERIFY(adapter->isPowered());
    }
};

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QByteArray mistake = qgetenv(mistakeVariable);
    if (!mistake.isEmpty()) {
        makeMistake(mistake);
        fprintf(stderr, "mistake let through\n");
        return 0;
    }
    tst_FakePlatform test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_fakeplatform.moc"
