// Small dialog plugin libraries for the host's tests. One source, built once per kind (TEST_PLUGIN_KIND):
//   1 recording: a good plugin that logs initialize/destroy to $NFCUI_TEST_PLUGIN_LOG and, when
//     $NFCUI_TEST_PLUGIN_DIALOG is set, shows a message box with that text and logs how it finished;
//   2 wrong pattern in the verification text;
//   3 qt_plugin_instance() returns no object;
//   4 the instance is a plain QObject that is not a dialog plugin;
//   5 no entry points at all.
#include <QFile>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include "connectivitydialogplugininterface.h"
#include "connectivitydialogserverinterface.h"
#include "messagebox.h"

namespace {
void logLine(const QString& line)
{
    const QString path = qEnvironmentVariable("NFCUI_TEST_PLUGIN_LOG");
    if (path.isEmpty())
        return;
    QFile file(path);
    if (file.open(QIODevice::Append | QIODevice::Text))
        file.write(line.toUtf8() + '\n');
}
} // namespace

class RecordingPlugin : public QObject, public ConnectivityDialogPluginInterface
{
    Q_OBJECT
    Q_INTERFACES(ConnectivityDialogPluginInterface)
public:
    void initialize(ConnectivityDialogServerInterface* server) override
    {
        m_server = server;
        logLine(QStringLiteral("initialize"));
        const QString text = qEnvironmentVariable("NFCUI_TEST_PLUGIN_DIALOG");
        if (!text.isEmpty()) {
            QTimer::singleShot(0, this, [this, text]() {
                auto* box = new ConnUi::MessageBox(QStringLiteral("Test"), text,
                                                   ConnUi::Dialog::Yes | ConnUi::Dialog::No);
                connect(box, &ConnUi::Dialog::finished, this, [this, box](int result) {
                    logLine(QStringLiteral("finished %1").arg(result));
                    m_server->closeDialog(box);
                });
                m_server->showDialog(box);
            });
        }
    }
    void destroy() override
    {
        logLine(QStringLiteral("destroy"));
        m_server = nullptr;
    }
    bool isInitialized() const override { return m_server; }
    QString service() const override { return QString(); }
    QString path() const override { return QString(); }
    QString interface() const override { return QString(); }
    bool handlesMethod(const QString&) const override { return false; }
    bool requestDialog(QObject*, ConnectivityDialogRequest*) override { return false; }

private:
    ConnectivityDialogServerInterface* m_server = nullptr;
};

#if TEST_PLUGIN_KIND != 5
extern "C" Q_DECL_EXPORT const char* qt_plugin_query_verification_data()
{
#if TEST_PLUGIN_KIND == 2
    return "pattern=SOMETHING_ELSE\nversion=4.7.4\ndebug=false\nbuildkey=armv6 linux g++-4 full-config";
#else
    return "pattern=QT_PLUGIN_VERIFICATION_DATA\nversion=4.7.4\ndebug=false\nbuildkey=x86_64 linux g++-4 full-config";
#endif
}

extern "C" Q_DECL_EXPORT QObject* qt_plugin_instance()
{
#if TEST_PLUGIN_KIND == 3
    return nullptr;
#elif TEST_PLUGIN_KIND == 4
    static QPointer<QObject> instance;
    if (!instance)
        instance = new QObject;
    return instance;
#else
    static QPointer<QObject> instance;
    if (!instance)
        instance = new RecordingPlugin;
    return instance;
#endif
}
#endif

#include "testplugins.moc"
