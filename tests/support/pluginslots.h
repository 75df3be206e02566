#ifndef NFCUI_PLUGINSLOTS_H
#define NFCUI_PLUGINSLOTS_H

#include <QStringList>

// The plugin's own meta-object methods, in order: the slots the dialog server and the NFC agent reach it
// through. Checked on the class and on the plugin the library hands out.
inline QStringList pluginSlotSignatures()
{
    return {QStringLiteral("release()"),
            QStringLiteral("cancel()"),
            QStringLiteral("btPairingRequested(QDBusObjectPath,QString,QString,uint,QString)"),
            QStringLiteral("btConnectionRequested(QDBusObjectPath,QString,QString,uint)"),
            QStringLiteral("btDisconnectionRequested(QDBusObjectPath,QString,QString,uint)"),
            QStringLiteral("sharingPermissionRequested(QString,QVariant,QStringList)"),
            QStringLiteral("sharingSelectionRequested(QString,QVariant)"),
            QStringLiteral("notifyTouch(QDBusObjectPath,int)"),
            QStringLiteral("dataDeliveryRequested(NdefMessageHandlerList,QDBusObjectPath,QByteArray)")};
}

#endif
