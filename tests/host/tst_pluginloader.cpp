// Loading dialog plugin libraries: the built plugin, a good test plugin, and libraries that fail each check.
#include <QtTest>

#include <QTemporaryDir>

#include <dlfcn.h>

#include "connectivitydialogplugininterface.h"
#include "dialogserver.h"
#include "pluginloader.h"
#include "testpluginlog.h"

class tst_PluginLoader : public QObject
{
    Q_OBJECT

private:
    TestPluginLog m_log;

    // Loads a library that must be refused; *reason is what was reported for it.
    void refuse(const QString& file, QString* reason)
    {
        Host::DialogServer server;
        Host::PluginLoader loader(&server);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^Skipping plugin ")));
        QVERIFY(!loader.load(file, reason));
        QCOMPARE(loader.failures(), QStringList({*reason}));
        QVERIFY(loader.loadedFiles().isEmpty());
        QVERIFY(loader.plugins().isEmpty());
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_log.isValid());
        qputenv("NFCUI_TEST_PLUGIN_LOG", m_log.path().toUtf8());
    }

    void init() { m_log.clear(); }

    void theBuiltPluginIsLoadedInitializedAndDestroyed()
    {
        Host::DialogServer server;
        Host::PluginLoader loader(&server);
        QString error;
        QVERIFY2(loader.load(QStringLiteral(NFCUI_PLUGIN_FILE), &error), qPrintable(error));
        QCOMPARE(loader.loadedFiles(), QStringList({QFileInfo(QStringLiteral(NFCUI_PLUGIN_FILE)).absoluteFilePath()}));
        QCOMPARE(loader.plugins().size(), 1);
        ConnectivityDialogPluginInterface* plugin = loader.plugins().first();
        QVERIFY(plugin->isInitialized());
        loader.destroyAll();
        QVERIFY(!plugin->isInitialized());
        QVERIFY(loader.failures().isEmpty());
    }

    void aGoodPluginIsInitializedWithTheServerAndDestroyedOnce()
    {
        {
            Host::DialogServer server;
            Host::PluginLoader loader(&server);
            QVERIFY(loader.load(QStringLiteral(NFCUI_TEST_PLUGIN_RECORDING)));
            QCOMPARE(m_log.lines(), QStringList({"initialize"}));
            loader.destroyAll();
            loader.destroyAll();
            QCOMPARE(m_log.lines(), QStringList({"initialize", "destroy"}));
        }
        QCOMPARE(m_log.lines(), QStringList({"initialize", "destroy"}));
    }

    void theLoaderDestroysItsPluginsWhenItGoes()
    {
        {
            Host::DialogServer server;
            Host::PluginLoader loader(&server);
            QVERIFY(loader.load(QStringLiteral(NFCUI_TEST_PLUGIN_RECORDING)));
        }
        QCOMPARE(m_log.lines(), QStringList({"initialize", "destroy"}));
    }

    void aMissingFileIsReportedWithItsPath()
    {
        const QString missing = m_log.filePath(QStringLiteral("libmissing.so"));
        QString reason;
        refuse(missing, &reason);
        if (QTest::currentTestFailed())
            return;
        QCOMPARE(reason, missing + QStringLiteral(": no such file"));
    }

    void aFileThatIsNoLibraryIsReportedWithTheLoadersReason()
    {
        const QString path = m_log.filePath(QStringLiteral("libtext.so"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("not a library\n");
        file.close();
        QString reason;
        refuse(path, &reason);
        if (QTest::currentTestFailed())
            return;
        QVERIFY2(reason.startsWith(path + QStringLiteral(": cannot be loaded: ")), qPrintable(reason));
    }

    void aLibraryWithoutEntryPointsIsReported()
    {
        const QString path = QStringLiteral(NFCUI_TEST_PLUGIN_NOENTRYPOINTS);
        QString reason;
        refuse(path, &reason);
        if (QTest::currentTestFailed())
            return;
        QCOMPARE(reason, path + QStringLiteral(": no entry point qt_plugin_query_verification_data"));
    }

    void aWrongVerificationPatternIsReported()
    {
        const QString path = QStringLiteral(NFCUI_TEST_PLUGIN_WRONGPATTERN);
        QString reason;
        refuse(path, &reason);
        if (QTest::currentTestFailed())
            return;
        QCOMPARE(reason, path + QStringLiteral(": verification data has pattern \"SOMETHING_ELSE\" instead "
                                                      "of QT_PLUGIN_VERIFICATION_DATA"));
        QVERIFY(m_log.lines().isEmpty());
    }

    void anInstanceFunctionWithoutObjectIsReported()
    {
        const QString path = QStringLiteral(NFCUI_TEST_PLUGIN_NOINSTANCE);
        QString reason;
        refuse(path, &reason);
        if (QTest::currentTestFailed())
            return;
        QCOMPARE(reason, path + QStringLiteral(": qt_plugin_instance() returned no object"));
    }

    void anInstanceThatIsNoDialogPluginIsReported()
    {
        const QString path = QStringLiteral(NFCUI_TEST_PLUGIN_NOTAPLUGIN);
        QString reason;
        refuse(path, &reason);
        if (QTest::currentTestFailed())
            return;
        QCOMPARE(reason, path + QStringLiteral(": QObject is not a ConnectivityDialogPluginInterface"));
    }

    void theSameLibraryIsNotLoadedTwice()
    {
        Host::DialogServer server;
        Host::PluginLoader loader(&server);
        QVERIFY(loader.load(QStringLiteral(NFCUI_TEST_PLUGIN_RECORDING)));
        QString error;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("already loaded$")));
        QVERIFY(!loader.load(QStringLiteral(NFCUI_TEST_PLUGIN_RECORDING), &error));
        QVERIFY(error.endsWith(QStringLiteral(": already loaded")));
        QCOMPARE(m_log.lines(), QStringList({"initialize"}));
    }

    void aDirectoryLoadsItsGoodLibrariesAndSkipsTheBrokenOnes()
    {
        QTemporaryDir plugins;
        QVERIFY(plugins.isValid());
        const QStringList sources = {NFCUI_TEST_PLUGIN_RECORDING, NFCUI_TEST_PLUGIN_WRONGPATTERN,
                                     NFCUI_TEST_PLUGIN_NOINSTANCE};
        for (const QString& source : sources)
            QVERIFY(QFile::link(source, plugins.filePath(QFileInfo(source).fileName())));
        QFile notes(plugins.filePath(QStringLiteral("README")));
        QVERIFY(notes.open(QIODevice::WriteOnly));
        notes.close();

        Host::DialogServer server;
        Host::PluginLoader loader(&server);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^Skipping plugin .*wrongpattern")));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^Skipping plugin .*noinstance")));
        QCOMPARE(loader.loadDirectory(plugins.path()), 1);
        QCOMPARE(loader.loadedFiles(), QStringList({plugins.filePath(QStringLiteral("libtestplugin_recording.so"))}));
        QCOMPARE(loader.failures().size(), 2);
        QCOMPARE(m_log.lines(), QStringList({"initialize"}));
    }

    void aMissingDirectoryIsReported()
    {
        Host::DialogServer server;
        Host::PluginLoader loader(&server);
        const QString missing = m_log.filePath(QStringLiteral("nowhere"));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("no such directory$")));
        QCOMPARE(loader.loadDirectory(missing), 0);
        QCOMPARE(loader.failures(), QStringList({missing + QStringLiteral(": no such directory")}));
    }

    // The UI toolkit's classes live in one shared library that the server and the plugins link: a
    // dialog class has one meta-object in the process, so that the server recognises the plugin's dialogs.
    void thePluginsDialogClassesAreTheServersOwn_data()
    {
        QTest::addColumn<QString>("file");
        QTest::newRow("built plugin") << QStringLiteral(NFCUI_PLUGIN_FILE);
        QTest::newRow("test plugin") << QStringLiteral(NFCUI_TEST_PLUGIN_RECORDING);
    }

    void thePluginsDialogClassesAreTheServersOwn()
    {
        QFETCH(QString, file);
        void* handle = dlopen(QFile::encodeName(file).constData(), RTLD_NOW | RTLD_LOCAL);
        QVERIFY2(handle, dlerror());
        // ConnUi::Dialog::staticMetaObject as the plugin resolves it: itself first, then its libraries.
        void* symbol = dlsym(handle, "_ZN6ConnUi6Dialog16staticMetaObjectE");
        Dl_info where{};
        const bool found = symbol && dladdr(symbol, &where);
        dlclose(handle);
        QVERIFY(found);
        QVERIFY2(QFileInfo(QFile::decodeName(where.dli_fname)).fileName().startsWith(QLatin1String("libnfcui-base.so")),
                 where.dli_fname);
    }

    void verificationFieldsAreReadByName()
    {
        const QByteArray data("pattern=QT_PLUGIN_VERIFICATION_DATA\nversion=4.7.4\ndebug=false\n"
                              "buildkey=armv6 linux g++-4 full-config");
        QCOMPARE(Host::PluginLoader::verificationField(data, QStringLiteral("pattern")),
                 QStringLiteral("QT_PLUGIN_VERIFICATION_DATA"));
        QCOMPARE(Host::PluginLoader::verificationField(data, QStringLiteral("buildkey")),
                 QStringLiteral("armv6 linux g++-4 full-config"));
        QVERIFY(Host::PluginLoader::verificationField(data, QStringLiteral("missing")).isNull());
        QVERIFY(Host::PluginLoader::verificationField(QByteArray(), QStringLiteral("pattern")).isNull());
    }
};

QTEST_GUILESS_MAIN(tst_PluginLoader)
#include "tst_pluginloader.moc"
