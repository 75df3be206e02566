// The installation: cmake --install into a staging folder puts every part in its standard place, the
// installed nfcui-host finds the installed plugin and catalogues by itself, and a plugin built outside
// the project against the installed platform API (find_package(NfcUiPlatform)) loads in it.
#include <QtTest>

#include <QProcess>
#include <QTemporaryDir>

#include "testtimeouts.h"

class tst_Installation : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_stage;
    QString m_prefix;

    static bool run(const QString& program, const QStringList& arguments, QString* output,
                    const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment(),
                    int timeout = TestTimeouts::scaled(300000))
    {
        QProcess process;
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(program, arguments);
        if (!process.waitForStarted()) {
            *output = program + QStringLiteral(" cannot be started");
            return false;
        }
        const bool finished = process.waitForFinished(timeout);
        *output = QString::fromUtf8(process.readAll());
        return finished && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    }

    // Runs the installed host with the options until it reports a dialog answered, then stops it.
    void hostAnswersADialog(const QStringList& arguments, const QString& expected,
                            const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment())
    {
        QProcess host;
        host.setProcessEnvironment(environment);
        host.setProcessChannelMode(QProcess::MergedChannels);
        host.start(m_prefix + QStringLiteral("/bin/nfcui-host"), arguments + QStringList{"--answer", "ok"});
        QVERIFY(host.waitForStarted());
        QString output;
        QElapsedTimer timer;
        timer.start();
        while (!output.contains(expected) && timer.elapsed() < TestTimeouts::scaled(20000)) {
            host.waitForReadyRead(200);
            output += QString::fromUtf8(host.readAll());
        }
        host.terminate();
        QVERIFY(host.waitForFinished(TestTimeouts::scaled(10000)));
        output += QString::fromUtf8(host.readAll());
        QVERIFY2(output.contains(expected), qPrintable(output));
        QCOMPARE(host.exitCode(), 0);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_stage.isValid());
        m_prefix = m_stage.path() + QStringLiteral("/usr");
        QString output;
        QVERIFY2(run(QStringLiteral("cmake"), {"--install", QStringLiteral(NFCUI_BUILD_DIR), "--prefix", m_prefix},
                     &output),
                 qPrintable(output));
    }

    void everyPartIsInItsStandardPlace_data()
    {
        QTest::addColumn<QString>("file");
        for (const char* file :
             {"bin/nfcui-host", "bin/nfcui-sim", "bin/nfcui-ndef", "sbin/nfcui-daemon",
              NFCUI_LIBDIR "/nfc-ui/plugins/libnfcagentdialogplugin.so", NFCUI_LIBDIR "/nfc-ui/libnfcui-base.so.0",
              "share/nfc-ui/translations/nfc-ui_en.qm",
              "share/nfc-ui/translations/nfc-ui_fi.qm", "share/nfc-ui/translations/nfcui-host_en.qm",
              "share/nfc-ui/translations/nfcui-host_fi.qm",
              "share/dbus-1/system.d/com.orvan.nfc.conf",
              "share/dbus-1/interfaces/com.orvan.DialogServer.Automation.xml",
              "share/dbus-1/services/com.orvan.DialogServer.service",
              "share/dbus-1/system-services/com.orvan.nfc.service", "lib/systemd/system/nfcui-daemon.service",
              "lib/systemd/user/nfcui-host.service", "include/nfc-ui/connectivitydialogplugininterface.h",
              NFCUI_LIBDIR "/cmake/NfcUiPlatform/NfcUiPlatformConfig.cmake", "share/doc/nfc-ui/README.md"})
            QTest::newRow(file) << QString::fromLatin1(file);
    }

    void everyPartIsInItsStandardPlace()
    {
        QFETCH(QString, file);
        QVERIFY2(QFileInfo::exists(m_prefix + QLatin1Char('/') + file), qPrintable(file));
    }

    void theInstalledHostFindsTheInstalledPlugin()
    {
        hostAnswersADialog({}, QStringLiteral("Loaded plugin ") + m_prefix);
    }

    void aPluginBuiltAgainstTheInstalledPlatformLoads()
    {
        const QString build = m_stage.path() + QStringLiteral("/external-build");
        QString output;
        QVERIFY2(run(QStringLiteral("cmake"), {"-S", QStringLiteral(NFCUI_EXTERNAL_PLUGIN_SOURCE), "-B", build,
                                               "-G", "Ninja", "-DCMAKE_PREFIX_PATH=" + m_prefix,
                                               "-DNFCUI_TEST_PLUGIN_SOURCE=" NFCUI_TEST_PLUGIN_SOURCE},
                     &output),
                 qPrintable(output));
        QVERIFY2(run(QStringLiteral("cmake"), {"--build", build}, &output), qPrintable(output));
        // The plugin shows one question when it is initialized and logs each of its calls.
        const QString log = m_stage.path() + QStringLiteral("/external-plugin.log");
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("NFCUI_TEST_PLUGIN_DIALOG"), QStringLiteral("Question"));
        environment.insert(QStringLiteral("NFCUI_TEST_PLUGIN_LOG"), log);
        hostAnswersADialog({QStringLiteral("--plugin"), build + QStringLiteral("/libexternalplugin.so")},
                           QStringLiteral("Answering dialog 1 ok"), environment);
        QFile file(log);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts),
                 QStringList({"initialize", "finished 16384", "destroy"}));
    }
};

QTEST_GUILESS_MAIN(tst_Installation)
#include "tst_installation.moc"
