#include "pluginfixture.h"

#include "fakeplatform.h"
#include "pluginaccess.h"
#include "testsupport.h"

void PluginFixture::setUp(bool keepCalls)
{
    FakePlatform::reset();
    server = new FakeDialogServer;
    plugin = new ConnUi::NfcAgentDialogPlugin;
    plugin->initialize(server);
    if (!keepCalls)
        FakePlatform::clearCalls();
}

void PluginFixture::tearDown()
{
    if (plugin)
        plugin->destroy();
    delete plugin;
    plugin = nullptr;
    TestSupport::deleteLaterNow();
    delete server;
    server = nullptr;
}

ConnUi::NfcAgentDialogPluginPrivate* PluginFixture::d() const
{
    return NfcAgentDialogPluginTestAccess::d(plugin);
}

NfcAgent* PluginFixture::agent() const
{
    return d()->agent;
}
