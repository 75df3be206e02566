// A dialog plugin that shows one message box when it is initialized.
#include <QObject>
#include <QPointer>
#include <QTimer>

#include "connectivitydialogplugininterface.h"
#include "connectivitydialogserverinterface.h"
#include "messagebox.h"

class ExternalPlugin : public QObject, public ConnectivityDialogPluginInterface
{
    Q_OBJECT
    Q_INTERFACES(ConnectivityDialogPluginInterface)
public:
    void initialize(ConnectivityDialogServerInterface* server) override
    {
        m_server = server;
        QTimer::singleShot(0, this, [this]() {
            m_server->showDialog(new ConnUi::MessageBox(QStringLiteral("External"), QStringLiteral("Hello"),
                                                        ConnUi::Dialog::Ok));
        });
    }
    void destroy() override { m_server = nullptr; }
    bool isInitialized() const override { return m_server; }
    QString service() const override { return QString(); }
    QString path() const override { return QString(); }
    QString interface() const override { return QString(); }
    bool handlesMethod(const QString&) const override { return false; }
    bool requestDialog(QObject*, ConnectivityDialogRequest*) override { return false; }

private:
    ConnectivityDialogServerInterface* m_server = nullptr;
};

extern "C" Q_DECL_EXPORT const char* qt_plugin_query_verification_data()
{
    return "pattern=QT_PLUGIN_VERIFICATION_DATA\nversion=5.15.8\ndebug=false\nbuildkey=x86_64 linux g++ full-config";
}

extern "C" Q_DECL_EXPORT QObject* qt_plugin_instance()
{
    static QPointer<QObject> instance;
    if (!instance)
        instance = new ExternalPlugin;
    return instance;
}

#include "externalplugin.moc"
