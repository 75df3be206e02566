#include "automationtypes.h"

#include <QDBusMetaType>

namespace Host {

QDBusArgument& operator<<(QDBusArgument& argument, const AutomationDialog& dialog)
{
    argument.beginStructure();
    argument << dialog.id << dialog.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, AutomationDialog& dialog)
{
    argument.beginStructure();
    argument >> dialog.id >> dialog.properties;
    argument.endStructure();
    return argument;
}

void registerAutomationTypes()
{
    qDBusRegisterMetaType<AutomationDialog>();
    qDBusRegisterMetaType<AutomationDialogList>();
}

} // namespace Host
