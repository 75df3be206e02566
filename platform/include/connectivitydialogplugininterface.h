#ifndef CONNECTIVITYDIALOGPLUGININTERFACE_H
#define CONNECTIVITYDIALOGPLUGININTERFACE_H

#include <QtPlugin>
#include <QString>
#include <QVariantList>

class ConnectivityDialogServerInterface;

// A dialog method call that the dialog server received on its own bus interface and offers to the
// plugin that claims the method. NFC dialogs never arrive this way, but the interface carries it.
class ConnectivityDialogRequest
{
public:
    ConnectivityDialogRequest(const QString& method = QString(), const QVariantList& arguments = QVariantList())
        : m_method(method), m_arguments(arguments) {}
    QString method() const { return m_method; }
    QVariantList arguments() const { return m_arguments; }

private:
    QString m_method;
    QVariantList m_arguments;
};

// What a dialog server expects of a dialog plugin. The server keeps plugins for the lifetime of the
// process and never deletes them through this interface, so it has no virtual destructor.
class ConnectivityDialogPluginInterface
{
public:
    virtual void initialize(ConnectivityDialogServerInterface* server) = 0;
    virtual void destroy() = 0;
    virtual bool isInitialized() const = 0;
    virtual QString service() const = 0;
    virtual QString path() const = 0;
    virtual QString interface() const = 0;
    virtual bool handlesMethod(const QString& method) const = 0;
    virtual bool requestDialog(QObject* caller, ConnectivityDialogRequest* request) = 0;
    virtual bool checkRequest(ConnectivityDialogRequest* request)
    {
        Q_UNUSED(request)
        return true;
    }

protected:
    ~ConnectivityDialogPluginInterface() = default;
};

#define ConnectivityDialogPluginInterface_iid "com.orvan.ConnectivityDialogPluginInterface"
Q_DECLARE_INTERFACE(ConnectivityDialogPluginInterface, ConnectivityDialogPluginInterface_iid)

#endif
