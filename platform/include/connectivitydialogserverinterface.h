#ifndef CONNECTIVITYDIALOGSERVERINTERFACE_H
#define CONNECTIVITYDIALOGSERVERINTERFACE_H

#include <QString>
#include <QVariant>

namespace ConnUi {
class Dialog;
}

// The dialog server as its plugins see it.
class ConnectivityDialogServerInterface
{
public:
    virtual ~ConnectivityDialogServerInterface() = default;

    // Presents the dialog. From here on the dialog belongs to the server.
    virtual void showDialog(ConnUi::Dialog* dialog) = 0;
    // Takes a dialog down that has finished or must go. It does not emit finished(int) again.
    virtual void closeDialog(ConnUi::Dialog* dialog) = 0;
    // Stores a named value for the server's other plugins; an invalid value removes the key.
    virtual void setProperty(const QString& key, const QVariant& value) = 0;
};

#endif
