// The plugin shell, its entry points and the agent registration with its clean-up rules.
#include <QtTest>

#include "fakedialogserver.h"
#include "fakeplatform.h"
#include "nfcadapter.h"
#include "nfcagent.h"
#include "nfcagentdialogplugin.h"
#include "nfcagentdialogplugin_p.h"
#include "nfcagentsharingrequest.h"
#include "nfcoverlay.h"
#include "nfcsharingpermissiondialog.h"
#include "nfctagnotsupporteddialog.h"
#include "pluginaccess.h"
#include "pluginslots.h"
#include "testsupport.h"

extern "C" const char* qt_plugin_query_verification_data();
extern "C" QObject* qt_plugin_instance();

using ConnUi::NfcAgentDialogPlugin;
using ConnUi::NfcAgentDialogPluginPrivate;

class tst_NfcAgentDialogPlugin : public QObject
{
    Q_OBJECT

private:
    static NfcAgentDialogPluginPrivate* d(NfcAgentDialogPlugin& plugin)
    {
        return NfcAgentDialogPluginTestAccess::d(&plugin);
    }
    static QObject* registeredAgent(int index = -1)
    {
        const QList<FakeCall> calls = FakePlatform::callsTo(QStringLiteral("NfcAdapter::registerAgent"));
        if (calls.isEmpty())
            return nullptr;
        return calls.at(index < 0 ? calls.size() - 1 : index).args.value(0).value<QObject*>();
    }
    // Two sharing requests that wait for their dialogs.
    static void startTwoSharingRequests(NfcAgent* agent)
    {
        emit agent->sharingPermissionRequested(QStringLiteral("bluetooth"), 1, {QStringLiteral("a.jpg")});
        emit agent->sharingSelectionRequested(QStringLiteral("bluetooth"), 2);
    }

private Q_SLOTS:
    void init()
    {
        FakePlatform::reset();
    }

    void verificationDataIsTheQt4Text()
    {
        QCOMPARE(QByteArray(qt_plugin_query_verification_data()),
                 QByteArray("pattern=QT_PLUGIN_VERIFICATION_DATA\nversion=4.7.4\ndebug=false\n"
                            "buildkey=armv6 linux g++-4 full-config"));
    }

    void instanceIsSharedUntilDeleted()
    {
        QObject* first = qt_plugin_instance();
        QVERIFY(first);
        QVERIFY(qobject_cast<NfcAgentDialogPlugin*>(first));
        QCOMPARE(first->parent(), static_cast<QObject*>(nullptr));
        QCOMPARE(qt_plugin_instance(), first);
        delete first;
        QObject* second = qt_plugin_instance();
        QVERIFY(second);
        QVERIFY(qobject_cast<NfcAgentDialogPlugin*>(second));
        QCOMPARE(qt_plugin_instance(), second);
    }

    void metaCastAnswersThreeNames()
    {
        NfcAgentDialogPlugin plugin;
        ConnectivityDialogPluginInterface* interface = &plugin;
        QCOMPARE(plugin.qt_metacast("ConnUi::NfcAgentDialogPlugin"), static_cast<void*>(&plugin));
        QCOMPARE(plugin.qt_metacast("ConnectivityDialogPluginInterface"), static_cast<void*>(interface));
        QCOMPARE(plugin.qt_metacast("com.orvan.ConnectivityDialogPluginInterface"), static_cast<void*>(interface));
        QCOMPARE(plugin.qt_metacast("QObject"), static_cast<void*>(static_cast<QObject*>(&plugin)));
        QCOMPARE(plugin.qt_metacast("SomethingElse"), static_cast<void*>(nullptr));
        QCOMPARE(qobject_cast<ConnectivityDialogPluginInterface*>(&plugin), interface);
    }

    void metaObjectListsTheSlotsInOrder()
    {
        const QMetaObject* meta = &NfcAgentDialogPlugin::staticMetaObject;
        QCOMPARE(QByteArray(meta->className()), QByteArray("ConnUi::NfcAgentDialogPlugin"));
        QCOMPARE(meta->propertyCount() - meta->propertyOffset(), 0);
        QStringList signatures;
        QStringList parameters;
        for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
            const QMetaMethod method = meta->method(i);
            QCOMPARE(method.methodType(), QMetaMethod::Slot);
            QCOMPARE(method.access(), QMetaMethod::Protected);
            signatures << QString::fromLatin1(method.methodSignature());
            parameters << QString::fromLatin1(method.parameterNames().join(','));
        }
        QCOMPARE(signatures, pluginSlotSignatures());
        QCOMPARE(parameters, QStringList({"", "", "target,addr,name,cod,pin", "target,addr,name,cod",
                                          "target,addr,name,cod", "carrier,info,resources", "carrier,info",
                                          "target,touchStatus", "handlers,target,data"}));
    }

    void privateMetaObjectListsTheSlotsInOrder()
    {
        const QMetaObject* meta = &NfcAgentDialogPluginPrivate::staticMetaObject;
        QStringList signatures;
        for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
            QCOMPARE(meta->method(i).methodType(), QMetaMethod::Slot);
            QCOMPARE(meta->method(i).access(), QMetaMethod::Public);
            signatures << QString::fromLatin1(meta->method(i).methodSignature());
        }
        QCOMPARE(signatures, QStringList({"sharingAccepted()", "sharingRejected()", "bluetoothRequestAccepted()",
                                          "bluetoothRequestRejected()", "bluetoothRequestFailed(QString)",
                                          "updateAgent()", "tagReadDialogShown()", "tagReadAccepted()",
                                          "tagReadRejected()", "errorDialogFinished()", "closeTagReadRequest()",
                                          "unlockScreen()"}));
        const int failed = meta->indexOfSlot("bluetoothRequestFailed(QString)");
        QCOMPARE(meta->method(failed).parameterNames(), QList<QByteArray>({"reason"}));
    }

    void serviceAndPathAndInterfaceAreEmptyNotNull()
    {
        NfcAgentDialogPlugin plugin;
        QVERIFY(plugin.service().isEmpty());
        QVERIFY(!plugin.service().isNull());
        QVERIFY(plugin.path().isEmpty());
        QVERIFY(!plugin.path().isNull());
        QVERIFY(plugin.interface().isEmpty());
        QVERIFY(!plugin.interface().isNull());
    }

    void handlesNoMethodEvenAgentNames()
    {
        NfcAgentDialogPlugin plugin;
        QVERIFY(!plugin.handlesMethod(QStringLiteral("notifyTouch")));
        QVERIFY(!plugin.handlesMethod(QStringLiteral("dataDeliveryRequested")));
        QVERIFY(!plugin.handlesMethod(QString()));
    }

    void requestDialogDoesNothingAndCheckRequestAccepts()
    {
        NfcAgentDialogPlugin plugin;
        ConnectivityDialogRequest request(QStringLiteral("notifyTouch"));
        QCOMPARE(plugin.requestDialog(this, &request), false);
        QCOMPARE(plugin.checkRequest(&request), true);
        QCOMPARE(plugin.checkRequest(nullptr), true);
        QVERIFY(FakePlatform::calls().isEmpty());
    }

    void constructorCreatesNothing()
    {
        NfcAgentDialogPlugin plugin;
        QVERIFY(!plugin.isInitialized());
        QVERIFY(!plugin.parent());
        QVERIFY(FakePlatform::calls().isEmpty());
        QVERIFY(!d(plugin));
    }

    void initializeRegistersAgentWhenAdapterIsValid()
    {
        FakeDialogServer server;
        NfcAgentDialogPlugin plugin;
        plugin.initialize(&server);
        QVERIFY(plugin.isInitialized());
        QCOMPARE(d(plugin)->server, &server);
        QCOMPARE(d(plugin)->q, &plugin);
        QVERIFY(d(plugin)->adapter);
        QVERIFY(d(plugin)->agent);
        QVERIFY(!d(plugin)->agent->parent());
        QCOMPARE(registeredAgent(), static_cast<QObject*>(d(plugin)->agent));
        QVERIFY(!d(plugin)->overlay);
        QVERIFY(!d(plugin)->errorDialog);
        QVERIFY(!d(plugin)->touchTimer.isValid());
        plugin.destroy();
    }

    void initializeWithInvalidAdapterRegistersNothing()
    {
        FakePlatform::setNfcAdapterValid(false);
        FakeDialogServer server;
        NfcAgentDialogPlugin plugin;
        plugin.initialize(&server);
        QVERIFY(plugin.isInitialized());
        QVERIFY(!d(plugin)->agent);
        QCOMPARE(FakePlatform::count(QStringLiteral("NfcAdapter::registerAgent")), 0);
        plugin.destroy();
    }

    void agentSignalsReachThePluginSlots()
    {
        FakeDialogServer server;
        NfcAgentDialogPlugin plugin;
        plugin.initialize(&server);
        NfcAgent* agent = d(plugin)->agent;
        QVERIFY(agent);

        FakePlatform::setConfirmationEnabled(false);
        emit agent->sharingPermissionRequested(QStringLiteral("bt"), 11, QStringList());
        emit agent->sharingSelectionRequested(QStringLiteral("bt"), 12);
        QCOMPARE(TestSupport::agentReplies(), QStringList({"acceptSharing 11", "acceptSharing 12"}));

        emit agent->notifyTouch(QDBusObjectPath("/tag/1"), 0);
        QVERIFY(d(plugin)->overlay);
        QCOMPARE(d(plugin)->overlay->shownCount(), 1);
        emit agent->release();
        plugin.destroy();
    }

    void adapterInvalidDropsAgentAndLiveRequestsWithOneWarning()
    {
        FakeDialogServer server;
        NfcAgentDialogPlugin plugin;
        plugin.initialize(&server);
        QPointer<NfcAgent> agent = d(plugin)->agent;
        startTwoSharingRequests(agent);
        QCOMPARE(server.openDialogs().size(), 2);
        QVERIFY(!d(plugin)->requests.isEmpty());
        const QList<ConnUi::Dialog*> dialogs = server.openDialogs();

        FakePlatform::setNfcAdapterValid(false);
        FakePlatform::clearCalls();
        QTest::ignoreMessage(QtWarningMsg, "NfcAgentDialogPlugin: UI agent deleted when there was ongoing requests!");
        emit d(plugin)->adapter->adapterInvalid();

        QVERIFY(agent.isNull());
        QVERIFY(!d(plugin)->agent);
        QVERIFY(d(plugin)->requests.isEmpty());
        QCOMPARE(FakePlatform::count(QStringLiteral("NfcAdapter::registerAgent")), 0);
        QVERIFY(TestSupport::agentReplies().isEmpty());
        // The requests are gone: their dialogs, still with the server, reach nobody now.
        for (ConnUi::Dialog* dialog : dialogs)
            dialog->done(ConnUi::Dialog::Ok);
        QVERIFY(TestSupport::agentReplies().isEmpty());
        plugin.destroy();
    }

    void adapterValidTwiceReplacesTheAgentWithoutWarning()
    {
        FakeDialogServer server;
        NfcAgentDialogPlugin plugin;
        plugin.initialize(&server);
        QPointer<NfcAgent> first = d(plugin)->agent;
        QVERIFY(first);

        emit d(plugin)->adapter->adapterValid();
        QVERIFY(first.isNull());
        QPointer<NfcAgent> second = d(plugin)->agent;
        QVERIFY(second);
        QCOMPARE(registeredAgent(), static_cast<QObject*>(second.data()));

        emit d(plugin)->adapter->adapterValid();
        QVERIFY(second.isNull());
        QVERIFY(d(plugin)->agent);
        QCOMPARE(FakePlatform::count(QStringLiteral("NfcAdapter::registerAgent")), 3);
        QCOMPARE(FakePlatform::count(QStringLiteral("NfcAgent::~NfcAgent")), 2);
        plugin.destroy();
    }

    void newAgentServesCallsAfterReplacement()
    {
        FakeDialogServer server;
        NfcAgentDialogPlugin plugin;
        plugin.initialize(&server);
        emit d(plugin)->adapter->adapterValid();
        FakePlatform::setConfirmationEnabled(false);
        emit d(plugin)->agent->sharingSelectionRequested(QStringLiteral("bt"), 5);
        QCOMPARE(TestSupport::agentReplies(), QStringList({"acceptSharing 5"}));
        plugin.destroy();
    }

    void destroyUnregistersAgentAndDeletesAdapterOnly()
    {
        FakeDialogServer server;
        NfcAgentDialogPlugin plugin;
        plugin.initialize(&server);
        QPointer<NfcAgent> agent = d(plugin)->agent;
        QPointer<NfcAdapter> adapter = d(plugin)->adapter;
        plugin.destroy();
        QVERIFY(!plugin.isInitialized());
        QCOMPARE(FakePlatform::count(QStringLiteral("NfcAdapter::unregisterAgent")), 1);
        QCOMPARE(FakePlatform::callsTo(QStringLiteral("NfcAdapter::unregisterAgent")).first().args.value(0).value<QObject*>(),
                 static_cast<QObject*>(agent.data()));
        QVERIFY(adapter.isNull());
        // The agent outlives the plugin's private half.
        QVERIFY(!agent.isNull());
        delete agent.data();
    }

    void destroyWithoutAgentDeletesAdapterWithoutUnregistering()
    {
        FakePlatform::setNfcAdapterValid(false);
        FakeDialogServer server;
        NfcAgentDialogPlugin plugin;
        plugin.initialize(&server);
        QPointer<NfcAdapter> adapter = d(plugin)->adapter;
        plugin.destroy();
        QVERIFY(adapter.isNull());
        QCOMPARE(FakePlatform::count(QStringLiteral("NfcAdapter::unregisterAgent")), 0);
        QVERIFY(!plugin.isInitialized());
    }

    void destroyWithoutAdapterDeletesPrivateHalf()
    {
        FakePlatform::setNfcAdapterPresent(false);
        FakeDialogServer server;
        NfcAgentDialogPlugin plugin;
        plugin.initialize(&server);
        QVERIFY(plugin.isInitialized());
        QVERIFY(!d(plugin)->adapter);
        QVERIFY(!d(plugin)->agent);
        QPointer<NfcAgentDialogPluginPrivate> priv = d(plugin);
        plugin.destroy();
        QVERIFY(priv.isNull());
        QVERIFY(!plugin.isInitialized());
        QCOMPARE(FakePlatform::count(QStringLiteral("NfcAdapter::unregisterAgent")), 0);
    }

    void destroyWhenNotInitializedDoesNothing()
    {
        NfcAgentDialogPlugin plugin;
        plugin.destroy();
        QVERIFY(!plugin.isInitialized());
        QVERIFY(FakePlatform::calls().isEmpty());
    }

    void initializeAfterDestroyBuildsFreshPrivateHalf()
    {
        FakeDialogServer server;
        NfcAgentDialogPlugin plugin;
        plugin.initialize(&server);
        QPointer<NfcAgent> firstAgent = d(plugin)->agent;
        plugin.destroy();
        plugin.initialize(&server);
        QVERIFY(plugin.isInitialized());
        QVERIFY(d(plugin)->agent);
        QVERIFY(d(plugin)->agent != firstAgent.data());
        QCOMPARE(FakePlatform::count(QStringLiteral("NfcAdapter::defaultAdapter")), 2);
        QCOMPARE(FakePlatform::count(QStringLiteral("NfcAdapter::registerAgent")), 2);
        plugin.destroy();
        delete firstAgent.data();
    }

    void destroyDeletesLiveRequestsWithoutReplies()
    {
        FakeDialogServer server;
        NfcAgentDialogPlugin plugin;
        plugin.initialize(&server);
        startTwoSharingRequests(d(plugin)->agent);
        QCOMPARE(server.openDialogs().size(), 2);
        QPointer<NfcAgent> agent = d(plugin)->agent;
        plugin.destroy();
        QVERIFY(TestSupport::agentReplies().isEmpty());
        // The dialogs stay with the server; finishing them now reaches no request.
        for (ConnUi::Dialog* dialog : server.openDialogs())
            dialog->done(ConnUi::Dialog::Ok);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(TestSupport::agentReplies().isEmpty());
        delete agent.data();
    }

    void destructorDeletesOverlay()
    {
        FakeDialogServer server;
        NfcAgentDialogPlugin plugin;
        plugin.initialize(&server);
        emit d(plugin)->agent->notifyTouch(QDBusObjectPath("/tag"), 0);
        QPointer<NfcOverlay> overlay = d(plugin)->overlay;
        QVERIFY(overlay);
        plugin.destroy();
        QVERIFY(overlay.isNull());
    }

    void closeTagReadRequestWithNothingDoesNothing()
    {
        FakeDialogServer server;
        NfcAgentDialogPlugin plugin;
        plugin.initialize(&server);
        FakePlatform::clearCalls();
        d(plugin)->closeTagReadRequest();
        QVERIFY(FakePlatform::calls().isEmpty());
        plugin.destroy();
    }

    void closeTagReadRequestHandsBackErrorDialog()
    {
        FakeDialogServer server;
        NfcAgentDialogPlugin plugin;
        plugin.initialize(&server);
        emit d(plugin)->agent->notifyTouch(QDBusObjectPath("/tag"), 1);
        ConnUi::NfcTagNotSupportedDialog* dialog = d(plugin)->errorDialog;
        QVERIFY(dialog);
        QVERIFY(server.isOpen(dialog));

        d(plugin)->closeTagReadRequest();
        QVERIFY(!d(plugin)->errorDialog);
        QVERIFY(!server.isOpen(dialog));
        QCOMPARE(FakePlatform::count(QStringLiteral("Server::closeDialog")), 1);
        plugin.destroy();
    }

    void errorDialogFinishedAfterCloseDoesNothing()
    {
        FakeDialogServer server;
        NfcAgentDialogPlugin plugin;
        plugin.initialize(&server);
        emit d(plugin)->agent->notifyTouch(QDBusObjectPath("/tag"), 1);
        ConnUi::NfcTagNotSupportedDialog* dialog = d(plugin)->errorDialog;
        d(plugin)->closeTagReadRequest();
        FakePlatform::clearCalls();
        d(plugin)->errorDialogFinished();
        dialog->done(ConnUi::Dialog::Ok);
        QVERIFY(FakePlatform::calls().isEmpty());
        plugin.destroy();
    }

    void errorDialogFinishedHandsBackTheDialog()
    {
        FakeDialogServer server;
        NfcAgentDialogPlugin plugin;
        plugin.initialize(&server);
        emit d(plugin)->agent->notifyTouch(QDBusObjectPath("/tag"), 1);
        ConnUi::NfcTagNotSupportedDialog* dialog = d(plugin)->errorDialog;
        dialog->done(ConnUi::Dialog::Ok);
        QVERIFY(!d(plugin)->errorDialog);
        QVERIFY(!server.isOpen(dialog));
        QVERIFY(TestSupport::agentReplies().isEmpty());
        plugin.destroy();
    }

    // destroy() leaves the agent alive and connected; a call it still delivers reaches no private half.
    void lateAgentCallAfterDestroyIsIgnored()
    {
        FakeDialogServer server;
        NfcAgentDialogPlugin plugin;
        plugin.initialize(&server);
        QPointer<NfcAgent> agent = d(plugin)->agent;
        plugin.destroy();
        FakePlatform::clearCalls();
        emit agent->notifyTouch(QDBusObjectPath("/tag"), 1);
        emit agent->sharingSelectionRequested(QStringLiteral("bt"), 1);
        emit agent->dataDeliveryRequested(NdefMessageHandlerList(), QDBusObjectPath("/tag"), QByteArray());
        emit agent->btConnectionRequested(QDBusObjectPath("/dev"), QStringLiteral("00:11"), QString(), 0);
        QVERIFY(server.shownDialogs().isEmpty());
        QVERIFY(FakePlatform::calls().isEmpty());
        delete agent.data();
    }

    void tagReadDialogShownBeforeAnyDataReportsZero()
    {
        FakeDialogServer server;
        NfcAgentDialogPlugin plugin;
        plugin.initialize(&server);
        QTest::ignoreMessage(QtDebugMsg, "NFC tag reading took 0ms");
        d(plugin)->tagReadDialogShown();
        plugin.destroy();
    }

    void resetRequestDoesNothing()
    {
        FakeDialogServer server;
        NfcAgentDialogPlugin plugin;
        plugin.initialize(&server);
        FakePlatform::clearCalls();
        d(plugin)->resetRequest();
        QVERIFY(FakePlatform::calls().isEmpty());
        plugin.destroy();
    }

    void unlockScreenUnlocksThroughThePlatform()
    {
        FakeDialogServer server;
        NfcAgentDialogPlugin plugin;
        plugin.initialize(&server);
        FakePlatform::clearCalls();
        d(plugin)->unlockScreen();
        QCOMPARE(FakePlatform::callNames(), QStringList({"ConnectivityUIUtils::unlockScreen"}));
        plugin.destroy();
    }

    void replySlotsWithoutSenderOnlyWarn_data()
    {
        QTest::addColumn<QString>("slot");
        QTest::addColumn<QString>("warning");
        const QStringList slotNames = {"sharingAccepted", "sharingRejected", "tagReadAccepted", "tagReadRejected",
                                   "bluetoothRequestAccepted", "bluetoothRequestRejected"};
        for (const QString& slot : slotNames) {
            QTest::newRow(qPrintable(slot))
                << slot << QStringLiteral("NfcAgentDialogPluginPrivate::%1() called without request!").arg(slot);
        }
    }

    void replySlotsWithoutSenderOnlyWarn()
    {
        QFETCH(QString, slot);
        QFETCH(QString, warning);
        FakeDialogServer server;
        NfcAgentDialogPlugin plugin;
        plugin.initialize(&server);
        FakePlatform::clearCalls();
        QTest::ignoreMessage(QtWarningMsg, qPrintable(warning));
        QVERIFY(QMetaObject::invokeMethod(d(plugin), qPrintable(slot), Qt::DirectConnection));
        QVERIFY(FakePlatform::calls().isEmpty());
        plugin.destroy();
    }

    void bluetoothRequestFailedWithoutSenderNamesTheAcceptSlot()
    {
        FakeDialogServer server;
        NfcAgentDialogPlugin plugin;
        plugin.initialize(&server);
        FakePlatform::clearCalls();
        QTest::ignoreMessage(QtWarningMsg,
                             "NfcAgentDialogPluginPrivate::bluetoothRequestAccepted() called without request!");
        d(plugin)->bluetoothRequestFailed(QStringLiteral("com.orvan.nfc.UIAgent.Failed"));
        QVERIFY(FakePlatform::calls().isEmpty());
        plugin.destroy();
    }

    // A sender of the wrong class: a sharing dialog's accepted() wired to every reply slot.
    void replySlotsWithSenderOfAnotherClassOnlyWarn()
    {
        FakeDialogServer server;
        NfcAgentDialogPlugin plugin;
        plugin.initialize(&server);
        ConnUi::NfcSharingPermissionDialog stranger({QStringLiteral("x")});
        NfcAgentDialogPluginPrivate* priv = d(plugin);
        const QList<QPair<const char*, const char*>> replySlots = {
            {SLOT(sharingAccepted()), "NfcAgentDialogPluginPrivate::sharingAccepted() called without request!"},
            {SLOT(sharingRejected()), "NfcAgentDialogPluginPrivate::sharingRejected() called without request!"},
            {SLOT(tagReadAccepted()), "NfcAgentDialogPluginPrivate::tagReadAccepted() called without request!"},
            {SLOT(tagReadRejected()), "NfcAgentDialogPluginPrivate::tagReadRejected() called without request!"},
            {SLOT(bluetoothRequestAccepted()),
             "NfcAgentDialogPluginPrivate::bluetoothRequestAccepted() called without request!"},
            {SLOT(bluetoothRequestRejected()),
             "NfcAgentDialogPluginPrivate::bluetoothRequestRejected() called without request!"},
        };
        for (const auto& slot : replySlots) {
            connect(&stranger, SIGNAL(accepted()), priv, slot.first);
            QTest::ignoreMessage(QtWarningMsg, slot.second);
        }
        FakePlatform::clearCalls();
        emit stranger.accepted();
        QVERIFY(FakePlatform::calls().isEmpty());
        plugin.destroy();
    }

    // The adapter went away between a call and its outcome: no reply, the request still goes.
    void replyWithoutAgentSendsNothingButDeletesRequest()
    {
        FakeDialogServer server;
        NfcAgentDialogPlugin plugin;
        plugin.initialize(&server);
        NfcAgentDialogPluginPrivate* priv = d(plugin);
        priv->agent->deleteLater();
        QPointer<NfcAgent> agent = priv->agent;
        priv->agent = nullptr; // as after the adapter vanished without requests
        QCoreApplication::sendPostedEvents(agent, QEvent::DeferredDelete);

        FakePlatform::setConfirmationEnabled(false);
        QVERIFY(QMetaObject::invokeMethod(&plugin, "sharingSelectionRequested", Qt::DirectConnection,
                                          Q_ARG(QString, QStringLiteral("bt")), Q_ARG(QVariant, QVariant(7))));
        QVERIFY(TestSupport::agentReplies().isEmpty());
        QVERIFY(!priv->requests.isEmpty());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(priv->requests.isEmpty());
        plugin.destroy();
    }
};

QTEST_GUILESS_MAIN(tst_NfcAgentDialogPlugin)
#include "tst_nfcagentdialogplugin.moc"
