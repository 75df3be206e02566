#ifndef NFCUI_PLUGINACCESS_H
#define NFCUI_PLUGINACCESS_H

#include "nfcagentdialogplugin.h"
#include "nfcagentbluetoothrequest.h"
#include "nfcagentdialogplugin_p.h"
#include "nfcagentsharingrequest.h"
#include "nfcagenttagreadrequest.h"

// The unit tests' view of the plugin's private half.
struct NfcAgentDialogPluginTestAccess
{
    static ConnUi::NfcAgentDialogPluginPrivate* d(ConnUi::NfcAgentDialogPlugin* plugin) { return ConnUi::NfcAgentDialogPluginPrivate::get(plugin); }
};

#endif
