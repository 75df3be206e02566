// The automation interface on the (private) session bus, called from a second connection as a script
// would: methods, errors, signals, the bus name, and the introspection against the XML.
#include <QtTest>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingReply>
#include <QDomDocument>

#include "automation.h"
#include "dialogserver.h"

#include "messagebox.h"
#include "nfcpairingdialog.h"
#include "nfctagreadpermissiondialog.h"
#include "uiindications.h"

namespace {
const QString service = QStringLiteral("com.orvan.DialogServer");
const QString path = QStringLiteral("/");
const QString interface = QStringLiteral("com.orvan.DialogServer.Automation");
} // namespace

class tst_Automation : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<Host::DialogServer> m_server;
    std::unique_ptr<Host::Automation> m_automation;
    QDBusConnection m_client{QString()};

    // Calls the interface from the client connection without blocking the event loop the server needs.
    QDBusMessage call(const QString& method, const QVariantList& args = QVariantList(),
                      const QString& iface = interface)
    {
        QDBusMessage message = QDBusMessage::createMethodCall(service, path, iface, method);
        message.setArguments(args);
        QDBusPendingCall pending = m_client.asyncCall(message, 5000);
        QElapsedTimer timer;
        timer.start();
        while (!pending.isFinished() && timer.elapsed() < 6000)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
        return pending.reply();
    }

    QString showAndWait(ConnUi::Dialog* dialog)
    {
        QSignalSpy shown(m_server.get(), &Host::DialogServer::dialogShown);
        m_server->showDialog(dialog);
        if (!shown.wait(2000))
            return QString();
        return shown.first().at(0).toString();
    }

private Q_SLOTS:
    void initTestCase()
    {
        Host::registerAutomationTypes();
        m_client = QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("client"));
        QVERIFY2(m_client.isConnected(), "the private session bus of scripts/isolated is missing");
    }

    void init()
    {
        m_server = std::make_unique<Host::DialogServer>();
        m_automation = std::make_unique<Host::Automation>(m_server.get());
        QString error;
        QVERIFY2(m_automation->exportOn(QDBusConnection::sessionBus(), &error), qPrintable(error));
    }

    void cleanup()
    {
        m_automation.reset();
        m_server.reset();
    }

    void theNameIsTakenOnTheSessionBus()
    {
        QVERIFY(m_client.interface()->isServiceRegistered(service));
        QCOMPARE(m_client.interface()->serviceOwner(service).value(), QDBusConnection::sessionBus().baseService());
    }

    void aSecondServerIsToldTheNameIsTaken()
    {
        Host::DialogServer other;
        Host::Automation second(&other);
        const QDBusConnection connection =
            QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("second"));
        QString error;
        QVERIFY(!second.exportOn(connection, &error));
        QCOMPARE(error, QStringLiteral("the name com.orvan.DialogServer is already taken on the session bus "
                                       "(another nfcui-host with --automation?)"));
        QDBusConnection::disconnectFromBus(QStringLiteral("second"));
    }

    void anUnreachableBusIsReported()
    {
        Host::DialogServer other;
        Host::Automation automation(&other);
        const QDBusConnection broken =
            QDBusConnection::connectToBus(QStringLiteral("unix:path=/nonexistent/bus"), QStringLiteral("broken"));
        QString error;
        QVERIFY(!automation.exportOn(broken, &error));
        QVERIFY2(error.startsWith(QStringLiteral("cannot reach the session bus: ")), qPrintable(error));
        QDBusConnection::disconnectFromBus(QStringLiteral("broken"));
    }

    void listDialogsGivesTheOpenDialogsWithTheirProperties()
    {
        QCOMPARE(showAndWait(new ConnUi::NfcPairingDialog(0x240404)), QStringLiteral("1"));
        QCOMPARE(showAndWait(new ConnUi::NfcTagReadPermissionDialog(
                     QStringList({QStringLiteral("a.desktop"), QStringLiteral("b.desktop")}), QStringLiteral("b.desktop"))),
                 QStringLiteral("2"));
        const QDBusMessage reply = call(QStringLiteral("ListDialogs"));
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        QCOMPARE(reply.signature(), QStringLiteral("a(sa{sv})"));
        const auto dialogs = qdbus_cast<Host::AutomationDialogList>(reply.arguments().at(0));
        QCOMPARE(dialogs.size(), 2);
        QCOMPARE(dialogs.at(0).id, QStringLiteral("1"));
        QCOMPARE(dialogs.at(0).properties.value(QStringLiteral("class")).toString(), QStringLiteral("NfcPairingDialog"));
        QCOMPARE(dialogs.at(0).properties.value(QStringLiteral("classOfDevice")).toUInt(), 0x240404u);
        QCOMPARE(dialogs.at(1).id, QStringLiteral("2"));
        QCOMPARE(dialogs.at(1).properties.value(QStringLiteral("kind")).toString(), QStringLiteral("choice"));
        QCOMPARE(dialogs.at(1).properties.value(QStringLiteral("choices")).toStringList(),
                 QStringList({"a.desktop", "b.desktop"}));
        QCOMPARE(dialogs.at(1).properties.value(QStringLiteral("preselected")).toString(), QStringLiteral("b.desktop"));
    }

    void listDialogsIsEmptyWithoutDialogs()
    {
        const QDBusMessage reply = call(QStringLiteral("ListDialogs"));
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        QVERIFY(qdbus_cast<Host::AutomationDialogList>(reply.arguments().at(0)).isEmpty());
    }

    void answerEndsTheDialogAsTheUserWould()
    {
        auto* dialog = new ConnUi::NfcTagReadPermissionDialog(
            QStringList({QStringLiteral("a.desktop"), QStringLiteral("b.desktop")}), QStringLiteral("a.desktop"));
        QSignalSpy finished(dialog, &ConnUi::Dialog::finished);
        const QString id = showAndWait(dialog);
        const QDBusMessage reply =
            call(QStringLiteral("Answer"), {id, 1024, QStringLiteral("b.desktop"), true});
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        QCOMPARE(finished.count(), 1);
        QCOMPARE(finished.first().at(0).toInt(), 1024);
        QCOMPARE(dialog->selectedApplication(), QStringLiteral("b.desktop"));
        QVERIFY(dialog->isDirectActionSelected());
    }

    void answeringAnUnknownDialogIsAnError()
    {
        const QDBusMessage reply = call(QStringLiteral("Answer"), {QStringLiteral("42"), 1024, QString(), false});
        QCOMPARE(reply.type(), QDBusMessage::ErrorMessage);
        QCOMPARE(reply.errorName(), QStringLiteral("com.orvan.DialogServer.Error.UnknownDialog"));
        QCOMPARE(reply.errorMessage(), QStringLiteral("No open dialog 42"));
    }

    void serverPropertiesGivesWhatThePluginsStored()
    {
        m_server->setProperty(QStringLiteral("BtConnectIgnoreAddress"), QStringLiteral("00:11:22:33:44:55"));
        const QDBusMessage reply = call(QStringLiteral("ServerProperties"));
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        QCOMPARE(reply.signature(), QStringLiteral("a{sv}"));
        const QVariantMap properties = qdbus_cast<QVariantMap>(reply.arguments().at(0));
        QCOMPARE(properties, QVariantMap({{QStringLiteral("BtConnectIgnoreAddress"), QStringLiteral("00:11:22:33:44:55")}}));
    }

    void dialogShownAndDialogClosedAreSignalledOnTheBus()
    {
        QSignalSpy signalsSeen(this, SIGNAL(busSignal(QDBusMessage)));
        QVERIFY(m_client.connect(service, path, interface, QString(), this, SLOT(onBusSignal(QDBusMessage))));
        auto* box = new ConnUi::MessageBox(QStringLiteral("Exit offline mode?"), QStringLiteral("Send?"),
                                           ConnUi::Dialog::Yes | ConnUi::Dialog::No);
        const QString id = showAndWait(box);
        box->done(ConnUi::Dialog::No);
        QTRY_COMPARE(signalsSeen.count(), 2);
        const QDBusMessage shown = signalsSeen.at(0).at(0).value<QDBusMessage>();
        QCOMPARE(shown.member(), QStringLiteral("DialogShown"));
        QCOMPARE(shown.signature(), QStringLiteral("sa{sv}"));
        QCOMPARE(shown.arguments().at(0).toString(), id);
        const QVariantMap properties = qdbus_cast<QVariantMap>(shown.arguments().at(1));
        QCOMPARE(properties.value(QStringLiteral("class")).toString(), QStringLiteral("MessageBox"));
        QCOMPARE(properties.value(QStringLiteral("title")).toString(), QStringLiteral("Exit offline mode?"));
        const QDBusMessage closed = signalsSeen.at(1).at(0).value<QDBusMessage>();
        QCOMPARE(closed.member(), QStringLiteral("DialogClosed"));
        QCOMPARE(closed.arguments(), QVariantList({id, 0x10000}));
        m_client.disconnect(service, path, interface, QString(), this, SLOT(onBusSignal(QDBusMessage)));
    }

    void indicationsAreSignalledOnTheBus()
    {
        QSignalSpy signalsSeen(this, SIGNAL(busSignal(QDBusMessage)));
        QVERIFY(m_client.connect(service, path, interface, QStringLiteral("Indication"), this,
                                 SLOT(onBusSignal(QDBusMessage))));
        // Let the match rule reach the bus before the signal is sent.
        call(QStringLiteral("ListDialogs"));
        ConnUi::UiIndications::indicate(QStringLiteral("touch-overlay"));
        QTRY_COMPARE(signalsSeen.count(), 1);
        const QDBusMessage indication = signalsSeen.at(0).at(0).value<QDBusMessage>();
        QCOMPARE(indication.arguments(), QVariantList({QStringLiteral("touch-overlay"), QString()}));
        m_client.disconnect(service, path, interface, QStringLiteral("Indication"), this,
                            SLOT(onBusSignal(QDBusMessage)));
    }

    void theIntrospectionMatchesTheXml()
    {
        QFile file(QStringLiteral(NFCUI_AUTOMATION_XML));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QDomDocument expected;
        QVERIFY(expected.setContent(&file));
        const QDBusMessage reply =
            call(QStringLiteral("Introspect"), {}, QStringLiteral("org.freedesktop.DBus.Introspectable"));
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        QDomDocument actual;
        QVERIFY(actual.setContent(reply.arguments().at(0).toString()));

        auto describe = [](const QDomDocument& document) {
            QStringList members;
            const QDomNodeList interfaces = document.elementsByTagName(QStringLiteral("interface"));
            for (int i = 0; i < interfaces.size(); ++i) {
                const QDomElement iface = interfaces.at(i).toElement();
                if (iface.attribute(QStringLiteral("name")) != interface)
                    continue;
                for (QDomElement member = iface.firstChildElement(); !member.isNull();
                     member = member.nextSiblingElement()) {
                    if (member.tagName() != QLatin1String("method") && member.tagName() != QLatin1String("signal"))
                        continue;
                    QString line = member.tagName() + QLatin1Char(' ') + member.attribute(QStringLiteral("name"));
                    for (QDomElement arg = member.firstChildElement(QStringLiteral("arg")); !arg.isNull();
                         arg = arg.nextSiblingElement(QStringLiteral("arg")))
                        line += QLatin1Char(' ') + arg.attribute(QStringLiteral("name")) + QLatin1Char(':')
                                + arg.attribute(QStringLiteral("type")) + QLatin1Char(':')
                                + arg.attribute(QStringLiteral("direction"),
                                                member.tagName() == QLatin1String("signal") ? QStringLiteral("out")
                                                                                          : QStringLiteral("in"));
                    members.append(line);
                }
            }
            members.sort();
            return members;
        };
        QVERIFY(!describe(expected).isEmpty());
        QCOMPARE(describe(actual), describe(expected));
    }

Q_SIGNALS:
    void busSignal(const QDBusMessage& message);

public Q_SLOTS:
    void onBusSignal(const QDBusMessage& message) { Q_EMIT busSignal(message); }
};

QTEST_GUILESS_MAIN(tst_Automation)
#include "tst_automation.moc"
