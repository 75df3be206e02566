#ifndef NFCUI_HOST_AUTOMATIONTYPES_H
#define NFCUI_HOST_AUTOMATIONTYPES_H

#include <QDBusArgument>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariantMap>

namespace Host {

// One entry of ListDialogs(): (s id, a{sv} properties).
struct AutomationDialog
{
    QString id;
    QVariantMap properties;
};
typedef QList<AutomationDialog> AutomationDialogList;

QDBusArgument& operator<<(QDBusArgument& argument, const AutomationDialog& dialog);
const QDBusArgument& operator>>(const QDBusArgument& argument, AutomationDialog& dialog);

// Registers the types with Qt's meta-type and D-Bus systems; safe to call more than once.
void registerAutomationTypes();

} // namespace Host

Q_DECLARE_METATYPE(Host::AutomationDialog)
Q_DECLARE_METATYPE(Host::AutomationDialogList)

#endif
