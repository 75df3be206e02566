// Loads libnfcagentdialogplugin.so through its two C entry points, as a dialog server does.
#include <QtTest>

#include "pluginslots.h"

#include <QLibrary>

#include "connectivitydialogplugininterface.h"
#include "connectivitydialogserverinterface.h"
#include "dialog.h"

namespace {
typedef const char* (*VerificationFunction)();
typedef QObject* (*InstanceFunction)();

class NullServer : public ConnectivityDialogServerInterface
{
public:
    void showDialog(ConnUi::Dialog* dialog) override { delete dialog; }
    void closeDialog(ConnUi::Dialog*) override {}
    void setProperty(const QString&, const QVariant&) override {}
};
} // namespace

class tst_PluginLoading : public QObject
{
    Q_OBJECT

private:
    QLibrary library{QStringLiteral(NFCUI_PLUGIN_FILE)};
    VerificationFunction verification = nullptr;
    InstanceFunction instance = nullptr;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(library.load(), qPrintable(library.errorString()));
        verification = reinterpret_cast<VerificationFunction>(library.resolve("qt_plugin_query_verification_data"));
        instance = reinterpret_cast<InstanceFunction>(library.resolve("qt_plugin_instance"));
        QVERIFY(verification);
        QVERIFY(instance);
    }

    void verificationDataCarriesThePattern()
    {
        const QByteArray data(verification());
        QCOMPARE(data, QByteArray("pattern=QT_PLUGIN_VERIFICATION_DATA\nversion=4.7.4\ndebug=false\n"
                                  "buildkey=armv6 linux g++-4 full-config"));
    }

    void instanceIsOneObjectUntilDeleted()
    {
        QObject* first = instance();
        QVERIFY(first);
        QCOMPARE(instance(), first);
        QCOMPARE(QByteArray(first->metaObject()->className()), QByteArray("ConnUi::NfcAgentDialogPlugin"));
        delete first;
        QObject* second = instance();
        QVERIFY(second);
        QCOMPARE(instance(), second);
    }

    void castAnswersTheInterfaceNames()
    {
        QObject* plugin = instance();
        void* itself = plugin->qt_metacast("ConnUi::NfcAgentDialogPlugin");
        QCOMPARE(itself, static_cast<void*>(plugin));
        void* byName = plugin->qt_metacast("ConnectivityDialogPluginInterface");
        void* byId = plugin->qt_metacast("com.orvan.ConnectivityDialogPluginInterface");
        QVERIFY(byName);
        QCOMPARE(byId, byName);
        QCOMPARE(static_cast<void*>(qobject_cast<ConnectivityDialogPluginInterface*>(plugin)), byName);
        QCOMPARE(plugin->qt_metacast("Unrelated"), static_cast<void*>(nullptr));
    }

    void slotsAreListedInOrder()
    {
        const QMetaObject* meta = instance()->metaObject();
        QStringList slotList;
        for (int i = meta->methodOffset(); i < meta->methodCount(); ++i)
            slotList << QString::fromLatin1(meta->method(i).methodSignature());
        QCOMPARE(slotList, pluginSlotSignatures());
    }

    void interfaceAnswersAsAPluginWithoutServerMethods()
    {
        auto* plugin = qobject_cast<ConnectivityDialogPluginInterface*>(instance());
        QVERIFY(plugin);
        QVERIFY(!plugin->service().isNull() && plugin->service().isEmpty());
        QVERIFY(!plugin->path().isNull() && plugin->path().isEmpty());
        QVERIFY(!plugin->interface().isNull() && plugin->interface().isEmpty());
        QVERIFY(!plugin->handlesMethod(QStringLiteral("notifyTouch")));
        ConnectivityDialogRequest request(QStringLiteral("anything"));
        QVERIFY(!plugin->requestDialog(nullptr, &request));
        QVERIFY(plugin->checkRequest(&request));
    }

    void initializeAndDestroyToggleInitialized()
    {
        auto* plugin = qobject_cast<ConnectivityDialogPluginInterface*>(instance());
        NullServer server;
        QVERIFY(!plugin->isInitialized());
        // No NFC daemon runs on the private system bus: the adapter is invalid and no agent is made.
        plugin->initialize(&server);
        QVERIFY(plugin->isInitialized());
        plugin->destroy();
        QVERIFY(!plugin->isInitialized());
    }
};

QTEST_GUILESS_MAIN(tst_PluginLoading)
#include "tst_pluginloading.moc"
