#ifndef NFCUI_HOST_AUTOMATION_H
#define NFCUI_HOST_AUTOMATION_H

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>
#include <QScopedPointer>

#include "automationtypes.h"

namespace Host {

class DialogServer;
class AutomationPrivate;

// The automation interface (com.orvan.DialogServer.Automation) over a DialogServer: scripts and tests
// list and answer the dialogs and follow what is shown. The object's slots and signals are the
// interface's methods and signals; the adaptor generated from the XML relays them.
class Automation : public QObject, protected QDBusContext
{
    Q_OBJECT
public:
    static const char* const serviceName;  // "com.orvan.DialogServer"
    static const char* const objectPath;   // "/"
    static const char* const interfaceName; // "com.orvan.DialogServer.Automation"
    static const char* const unknownDialogError; // "com.orvan.DialogServer.Error.UnknownDialog"

    explicit Automation(DialogServer* server, QObject* parent = nullptr);
    ~Automation() override;

    // Exports the object and takes the bus name. On failure returns false with a reason that says what
    // went wrong: the bus cannot be reached, or the name is already taken.
    bool exportOn(const QDBusConnection& connection, QString* error = nullptr);
    void unexport();

public Q_SLOTS:
    Host::AutomationDialogList ListDialogs();
    void Answer(const QString& id, int result, const QString& selectedApplication, bool directAction);
    QVariantMap ServerProperties();

Q_SIGNALS:
    void DialogShown(const QString& id, const QVariantMap& properties);
    void DialogClosed(const QString& id, int result);
    void Indication(const QString& kind, const QString& detail);

private:
    QScopedPointer<AutomationPrivate> d;
};

} // namespace Host

#endif
