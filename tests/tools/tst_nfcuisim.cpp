// nfcui-sim as a process: its command line, the NDEF messages it builds, what it prints and its exit
// status, against nfcui-daemon on the private system bus with this test's NfcAgent as the UI agent.
#include <QtTest>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include "ndefwriter.h"
#include "nfcagent.h"
#include "nfcdnames.h"
#include "nfcdtestsupport.h"

class tst_NfcuiSim : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<DaemonProcess> daemon;
    std::unique_ptr<NfcAgent> agent;
    // How the agent answers every call that waits: "grant", "reject" or an error reason.
    QString answer = QStringLiteral("grant");
    QList<QByteArray> delivered;
    NdefMessageHandlerList lastHandlers;
    QVariantList lastPairing;
    QTemporaryDir dir;

    void startWithAgent()
    {
        daemon = std::make_unique<DaemonProcess>(QStringList{QStringLiteral("--simulator")});
        QVERIFY2(daemon->start(), qPrintable(daemon->error()));
        agent = std::make_unique<NfcAgent>();
        auto reply = [this](const QDBusObjectPath& target, void (NfcAgent::*grant)(const QDBusObjectPath&)) {
            if (answer == QLatin1String("grant"))
                (agent.get()->*grant)(target);
            else if (answer == QLatin1String("reject"))
                agent->rejectDevice(target);
            else
                agent->replyError(target, answer);
        };
        connect(agent.get(), &NfcAgent::dataDeliveryRequested, this,
                [this, reply](const NdefMessageHandlerList& handlers, const QDBusObjectPath& target, const QByteArray& data) {
                    delivered << data;
                    lastHandlers = handlers;
                    reply(target, &NfcAgent::dataDeliveryGranted);
                });
        connect(agent.get(), &NfcAgent::btPairingRequested, this,
                [this, reply](const QDBusObjectPath& target, const QString& address, const QString& name, uint cod,
                              const QString& pin) {
                    lastPairing = {address, name, cod, pin};
                    reply(target, &NfcAgent::btPairingRequestGranted);
                });
        connect(agent.get(), &NfcAgent::btConnectionRequested, this,
                [reply](const QDBusObjectPath& target) { reply(target, &NfcAgent::btConnectionRequestGranted); });
        connect(agent.get(), &NfcAgent::btDisconnectionRequested, this,
                [reply](const QDBusObjectPath& target) { reply(target, &NfcAgent::btDisconnectionRequestGranted); });
        connect(agent.get(), &NfcAgent::sharingPermissionRequested, this,
                [this](const QString&, const QVariant& info) {
                    answer == QLatin1String("grant") ? agent->acceptSharing(info) : agent->rejectSharing(info);
                });
        connect(agent.get(), &NfcAgent::sharingSelectionRequested, this,
                [this](const QString&, const QVariant& info) {
                    answer == QLatin1String("grant") ? agent->acceptSharing(info) : agent->rejectSharing(info);
                });
        QDBusMessage message = QDBusMessage::createMethodCall(QLatin1String(Nfcd::ServiceName),
                                                              QLatin1String(Nfcd::DefaultAdapterPath),
                                                              QLatin1String(Nfcd::AdapterInterface),
                                                              QStringLiteral("RegisterUIAgent"));
        message << QVariant::fromValue(agent->objectPath());
        QCOMPARE(QDBusConnection::systemBus().call(message).type(), QDBusMessage::ReplyMessage);
    }

    QString writeFile(const QString& name, const QByteArray& content)
    {
        QFile file(dir.filePath(name));
        if (!file.open(QIODevice::WriteOnly))
            return QString();
        file.write(content);
        return file.fileName();
    }

    // Runs nfcui-sim and expects a bad command line: 64, the message on standard error, nothing on
    // standard output.
    void expectUsageError(const QStringList& arguments, const QByteArray& message)
    {
        QByteArray out;
        QByteArray err;
        QCOMPARE(runSim(arguments, &out, &err), 64);
        QVERIFY2(err.contains(message), err.constData());
        QVERIFY2(out.isEmpty(), out.constData());
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(QDBusConnection::systemBus().isConnected(), "no private system bus");
        QVERIFY(dir.isValid());
        ConnUi::registerNdefMessageHandlerTypes();
    }

    void init()
    {
        answer = QStringLiteral("grant");
        delivered.clear();
        lastHandlers.clear();
        lastPairing.clear();
    }

    void cleanup()
    {
        agent.reset();
        if (daemon)
            QVERIFY(daemon->stop());
        daemon.reset();
    }

    void helpIsPrintedForTheToolAndEveryCommand_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QByteArray>("usage");
        QTest::newRow("tool") << QStringList{QStringLiteral("--help")} << QByteArray("Usage: nfcui-sim [--json]");
        for (const char* command : {"touch", "pair", "connect", "disconnect", "share-permission", "share-selection", "script"}) {
            QTest::newRow(command) << QStringList{QLatin1String(command), QStringLiteral("--help")}
                                   << QByteArray("Usage: nfcui-sim ") + command;
        }
    }

    void helpIsPrintedForTheToolAndEveryCommand()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, usage);
        QByteArray out;
        QCOMPARE(runSim(arguments, &out), 0);
        QVERIFY2(out.startsWith(usage), out.constData());
    }

    void badCommandLinesExitWith64AndSayWhy_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QByteArray>("message");
        auto row = [](const char* name, const QStringList& arguments, const char* message) {
            QTest::newRow(name) << arguments << QByteArray(message);
        };
        row("no command", {}, "a command is missing");
        row("unknown command", {QStringLiteral("tap")}, "unknown command 'tap'");
        row("unknown global option", {QStringLiteral("--loud"), QStringLiteral("touch")}, "unknown option '--loud'");
        row("bad timeout", {QStringLiteral("--timeout"), QStringLiteral("never"), QStringLiteral("touch")}, "--timeout");
        row("touch without input", {QStringLiteral("touch")}, "what to touch is missing");
        row("two inputs", {QStringLiteral("touch"), QStringLiteral("--uri"), QStringLiteral("http://a"), QStringLiteral("--text"), QStringLiteral("a")},
            "give only one of");
        row("hex that is not hex", {QStringLiteral("touch"), QStringLiteral("--hex"), QStringLiteral("zz")},
            "--hex: 'zz' is not hexadecimal digit pairs");
        row("odd hex", {QStringLiteral("touch"), QStringLiteral("--hex"), QStringLiteral("d10")},
            "is not hexadecimal digit pairs");
        row("lang without text", {QStringLiteral("touch"), QStringLiteral("--uri"), QStringLiteral("http://a"), QStringLiteral("--lang"), QStringLiteral("fi")},
            "--lang goes with --text");
        row("mime without file", {QStringLiteral("touch"), QStringLiteral("--mime"), QStringLiteral("text/plain")},
            "--mime TYPE takes one FILE argument");
        row("bad mime type", {QStringLiteral("touch"), QStringLiteral("--mime"), QStringLiteral("plain"), QStringLiteral("/dev/null")},
            "'plain' is not a MIME type");
        row("missing file", {QStringLiteral("touch"), QStringLiteral("--file"), QStringLiteral("/nonexistent/tag.ndef")},
            "--file: cannot read '/nonexistent/tag.ndef'");
        row("unknown touch option", {QStringLiteral("touch"), QStringLiteral("--colour")}, "Unknown option 'colour'");
        row("unreadable with handler", {QStringLiteral("touch"), QStringLiteral("--unreadable"), QStringLiteral("--handler"), QStringLiteral("a")},
            "--handler has no meaning");
        row("empty handler", {QStringLiteral("touch"), QStringLiteral("--uri"), QStringLiteral("http://a"), QStringLiteral("--handler"), QStringLiteral(":foreground")},
            "has no application id");
        row("pair without name", {QStringLiteral("pair"), QStringLiteral("00:11:22:33:44:55")}, "give the device's ADDRESS and NAME");
        row("bad address", {QStringLiteral("connect"), QStringLiteral("00:11:22"), QStringLiteral("x")},
            "'00:11:22' is not a Bluetooth address");
        row("bad class of device", {QStringLiteral("pair"), QStringLiteral("00:11:22:33:44:55"), QStringLiteral("x"), QStringLiteral("--cod"), QStringLiteral("0x1000000")},
            "--cod takes a class of device of 24 bits");
        row("pin for connect", {QStringLiteral("connect"), QStringLiteral("00:11:22:33:44:55"), QStringLiteral("x"), QStringLiteral("--pin"), QStringLiteral("1")},
            "Unknown option 'pin'");
        row("permission without resources", {QStringLiteral("share-permission")}, "give at least one RESOURCE");
        row("selection with resources", {QStringLiteral("share-selection"), QStringLiteral("a")}, "unexpected argument 'a'");
        row("script without file", {QStringLiteral("script")}, "give one FILE");
    }

    void badCommandLinesExitWith64AndSayWhy()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, message);
        expectUsageError(arguments, message);
    }

    void withoutDaemonTheExitStatusIs2()
    {
        QByteArray out;
        QByteArray err;
        QCOMPARE(runSim({QStringLiteral("touch"), QStringLiteral("--unreadable")}, &out, &err), 2);
        QVERIFY2(err.contains("no NFC daemon with its simulator"), err.constData());
        QVERIFY2(out.startsWith("no-daemon org.freedesktop.DBus.Error.ServiceUnknown"), out.constData());
    }

    void aDaemonWithoutSimulatorIsNoDaemonToo()
    {
        daemon = std::make_unique<DaemonProcess>(QStringList());
        QVERIFY2(daemon->start(), qPrintable(daemon->error()));
        QByteArray err;
        QCOMPARE(runSim({QStringLiteral("touch"), QStringLiteral("--unreadable")}, nullptr, &err), 2);
        QVERIFY2(err.contains("start nfcui-daemon --simulator"), err.constData());
    }

    void withoutAgentTheExitStatusIs2()
    {
        daemon = std::make_unique<DaemonProcess>(QStringList{QStringLiteral("--simulator")});
        QVERIFY2(daemon->start(), qPrintable(daemon->error()));
        QByteArray out;
        QByteArray err;
        QCOMPARE(runSim({QStringLiteral("touch"), QStringLiteral("--uri"), QStringLiteral("http://a")}, &out, &err), 2);
        QVERIFY2(err.contains("no UI agent is registered"), err.constData());
        QVERIFY2(out.startsWith("no-agent com.orvan.nfc.Error.NoAgent"), out.constData());
    }

    // An error answer is still being handled by Qt's D-Bus thread when the caller wakes; nfcui-sim waits
    // for it before ending, so that every run ends the same way (an instrumented build reports
    // whatever that thread still held at exit).
    void everyErrorAnswerEndsTheProgramCleanly()
    {
        daemon = std::make_unique<DaemonProcess>(QStringList{QStringLiteral("--simulator")});
        QVERIFY2(daemon->start(), qPrintable(daemon->error()));
        for (int i = 0; i < 20; ++i) {
            QByteArray err;
            QCOMPARE(runSim({QStringLiteral("touch"), QStringLiteral("--uri"), QStringLiteral("http://a")}, nullptr, &err),
                     2);
            QCOMPARE(err, QByteArray("nfcui-sim touch: no UI agent is registered with the NFC daemon\n"));
        }
    }

    void aGrantIsPrintedWithTheTargetAndExits0()
    {
        startWithAgent();
        QByteArray out;
        QCOMPARE(runSim({QStringLiteral("touch"), QStringLiteral("--uri"), QStringLiteral("http://example.com")}, &out), 0);
        QCOMPARE(out, QByteArray("granted /com/orvan/nfc/adapter0/tag0\n"));
    }

    void aRejectionExits3()
    {
        startWithAgent();
        answer = QStringLiteral("reject");
        QByteArray out;
        QCOMPARE(runSim({QStringLiteral("touch"), QStringLiteral("--uri"), QStringLiteral("http://example.com")}, &out), 3);
        QCOMPARE(out, QByteArray("rejected com.orvan.nfc.UIAgent.Rejected: Rejected\n"));
    }

    void anyOtherErrorExits4()
    {
        startWithAgent();
        answer = QStringLiteral("Pairing failed");
        QByteArray out;
        QCOMPARE(runSim({QStringLiteral("pair"), QStringLiteral("00:11:22:33:44:55"), QStringLiteral("Headset")}, &out), 4);
        QCOMPARE(out, QByteArray("error com.orvan.nfc.UIAgent.Failed: Pairing failed\n"));
    }

    void jsonPrintsOneObjectPerAnswer()
    {
        startWithAgent();
        answer = QStringLiteral("com.orvan.nfc.UIAgent.InvalidRequest");
        QByteArray out;
        QCOMPARE(runSim({QStringLiteral("--json"), QStringLiteral("connect"), QStringLiteral("00:11:22:33:44:55"), QStringLiteral("Car")}, &out), 4);
        const QJsonObject object = QJsonDocument::fromJson(out).object();
        QCOMPARE(object.value(QStringLiteral("command")).toString(), QStringLiteral("connect"));
        QCOMPARE(object.value(QStringLiteral("result")).toString(), QStringLiteral("error"));
        QCOMPARE(object.value(QStringLiteral("error")).toString(), QStringLiteral("com.orvan.nfc.UIAgent.InvalidRequest"));
        answer = QStringLiteral("grant");
        QCOMPARE(runSim({QStringLiteral("--json"), QStringLiteral("disconnect"), QStringLiteral("00:11:22:33:44:55"), QStringLiteral("Car")}, &out), 0);
        const QJsonObject granted = QJsonDocument::fromJson(out).object();
        QCOMPARE(granted.value(QStringLiteral("result")).toString(), QStringLiteral("granted"));
        QCOMPARE(granted.value(QStringLiteral("target")).toString(), QStringLiteral("/com/orvan/nfc/adapter0/device1"));
        QVERIFY(!granted.contains(QStringLiteral("error")));
    }

    void touchBuildsTheMessageWithTheNdefWriter_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QByteArray>("message");
        QTest::newRow("uri") << QStringList{QStringLiteral("--uri"), QStringLiteral("https://www.example.com/")}
                             << NdefWriter::message({NdefWriter::uri(QStringLiteral("https://www.example.com/"))});
        QTest::newRow("text") << QStringList{QStringLiteral("--text"), QStringLiteral("hei")}
                              << NdefWriter::message({NdefWriter::text("en", QStringLiteral("hei"))});
        QTest::newRow("text with language") << QStringList{QStringLiteral("--text"), QStringLiteral("hei"), QStringLiteral("--lang"), QStringLiteral("fi")}
                                            << NdefWriter::message({NdefWriter::text("fi", QStringLiteral("hei"))});
        QTest::newRow("hex") << QStringList{QStringLiteral("--hex"), QStringLiteral("d1 01 01:55 00")}
                             << QByteArray::fromHex("d101015500");
    }

    void touchBuildsTheMessageWithTheNdefWriter()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, message);
        startWithAgent();
        QCOMPARE(runSim(QStringList{QStringLiteral("touch")} + arguments), 0);
        QCOMPARE(delivered, QList<QByteArray>{message});
    }

    void touchReadsFilesForFileVcardAndMime()
    {
        startWithAgent();
        const QByteArray raw = NdefWriter::message({NdefWriter::uri(QStringLiteral("tel:+358401234567"))});
        QCOMPARE(runSim({QStringLiteral("touch"), QStringLiteral("--file"), writeFile(QStringLiteral("tag.ndef"), raw)}), 0);
        const QByteArray card("BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Test\r\nEND:VCARD\r\n");
        QCOMPARE(runSim({QStringLiteral("touch"), QStringLiteral("--vcard"), writeFile(QStringLiteral("card.vcf"), card)}), 0);
        QCOMPARE(runSim({QStringLiteral("touch"), QStringLiteral("--mime"), QStringLiteral("text/plain"),
                         writeFile(QStringLiteral("note.txt"), "note")}),
                 0);
        QCOMPARE(delivered, (QList<QByteArray>{raw, NdefWriter::message({NdefWriter::mime("text/x-vCard", card)}),
                                               NdefWriter::message({NdefWriter::mime("text/plain", "note")})}));
    }

    void handlersGivenOnTheCommandLineAreDelivered()
    {
        startWithAgent();
        QCOMPARE(runSim({QStringLiteral("touch"), QStringLiteral("--text"), QStringLiteral("x"), QStringLiteral("--handler"),
                         QStringLiteral("reader:foreground"), QStringLiteral("--handler"), QStringLiteral("notes")}),
                 0);
        QCOMPARE(lastHandlers.size(), 2);
        QCOMPARE(lastHandlers.at(0).applicationId(), QStringLiteral("reader"));
        QVERIFY(lastHandlers.at(0).isRunningOnForeground());
        QCOMPARE(lastHandlers.at(1).applicationId(), QStringLiteral("notes"));
        QVERIFY(!lastHandlers.at(1).isRunningOnForeground());
    }

    void pairPassesAddressNameClassAndPin()
    {
        startWithAgent();
        QCOMPARE(runSim({QStringLiteral("pair"), QStringLiteral("00:11:22:33:44:55"), QStringLiteral("My Headset"),
                         QStringLiteral("--cod"), QStringLiteral("0x240404"), QStringLiteral("--pin"), QStringLiteral("0000")}),
                 0);
        QCOMPARE(lastPairing, (QVariantList{QStringLiteral("00:11:22:33:44:55"), QStringLiteral("My Headset"),
                                            uint(0x240404), QStringLiteral("0000")}));
    }

    void sharingCommandsPrintTheAnswer()
    {
        startWithAgent();
        QByteArray out;
        QCOMPARE(runSim({QStringLiteral("share-permission"), QStringLiteral("a.jpg"), QStringLiteral("b.jpg")}, &out), 0);
        QCOMPARE(out, QByteArray("granted\n"));
        answer = QStringLiteral("reject");
        QCOMPARE(runSim({QStringLiteral("share-selection"), QStringLiteral("--info"), QStringLiteral("mine")}, &out), 3);
        QCOMPARE(out, QByteArray("rejected com.orvan.nfc.UIAgent.Rejected: Rejected\n"));
    }

    void aScriptRunsEveryLineAndExitsWithTheFirstFailure()
    {
        startWithAgent();
        const QString script = writeFile(QStringLiteral("session.txt"),
                                         "# a session\n"
                                         "touch --uri 'http://example.com/a b'\n"
                                         "\n"
                                         "touch --unreadable\n"
                                         "pair 00:11:22:33:44:55 \"Car Kit\" --cod 0x200404\n");
        QByteArray out;
        QCOMPARE(runSim({QStringLiteral("script"), script}, &out), 0);
        QCOMPARE(out, QByteArray("granted /com/orvan/nfc/adapter0/tag0\n"
                                 "granted /com/orvan/nfc/adapter0/tag1\n"
                                 "granted /com/orvan/nfc/adapter0/device0\n"));
        QCOMPARE(lastPairing.at(1).toString(), QStringLiteral("Car Kit"));
        answer = QStringLiteral("reject");
        QCOMPARE(runSim({QStringLiteral("script"), script}, &out), 3);
        QCOMPARE(out.count('\n'), 3);
    }

    void aBadScriptLineExits64()
    {
        const QString script = writeFile(QStringLiteral("bad.txt"), "touch --unreadable --hex 00\n");
        expectUsageError({QStringLiteral("script"), script}, "line 1 is not a command");
        const QString quote = writeFile(QStringLiteral("quote.txt"), "touch --text 'open\n");
        expectUsageError({QStringLiteral("script"), quote}, "line 1: unterminated ' quote");
        const QString nested = writeFile(QStringLiteral("nested.txt"), "script other.txt\n");
        expectUsageError({QStringLiteral("script"), nested}, "a script cannot run a script");
    }
};

QTEST_GUILESS_MAIN(tst_NfcuiSim)
#include "tst_nfcuisim.moc"
