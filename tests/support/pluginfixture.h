#ifndef NFCUI_PLUGINFIXTURE_H
#define NFCUI_PLUGINFIXTURE_H

#include "fakedialogserver.h"
#include "nfcagentdialogplugin.h"

class NfcAgent;

namespace ConnUi {
class NfcAgentDialogPluginPrivate;
}

// The plugin initialized on a fake dialog server, made anew for every test of the suites that drive the
// plugin through its agent. A suite derives from it next to QObject and calls setUp() from init() and
// tearDown() from cleanup().
class PluginFixture
{
public:
    // A fresh fake platform, server and plugin. Without keepCalls the calls of the set-up are cleared.
    void setUp(bool keepCalls = false);
    // The plugin is destroyed and deleted, what it handed to deleteLater() goes, then the server.
    void tearDown();

    ConnUi::NfcAgentDialogPluginPrivate* d() const;
    NfcAgent* agent() const;
    template<class T> T* onlyOpen() const { return server->onlyOpen<T>(); }

    FakeDialogServer* server = nullptr;
    ConnUi::NfcAgentDialogPlugin* plugin = nullptr;
};

#endif
