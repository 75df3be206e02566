#ifndef NFCUI_HOSTEDPLUGIN_H
#define NFCUI_HOSTEDPLUGIN_H

#include <QString>
#include <QStringList>

#include <memory>

#include "answerpresenter.h"

namespace Host {
class DialogServer;
class PluginLoader;
} // namespace Host

// The built plugin loaded through its two entry points into a dialog server whose presenter answers
// every dialog at once with one answer. Records the class of every dialog shown, in order.
class HostedPlugin
{
public:
    explicit HostedPlugin(Host::AnswerPresenter::Answer answer);
    // Destroys the plugin before the server and the presenter it uses.
    ~HostedPlugin();

    // Loads the plugin file; false with the reason in error.
    bool load(const QString& pluginFile, QString* error);
    Host::PluginLoader* loader() const { return m_loader.get(); }
    const QStringList& shownDialogs() const { return m_shownDialogs; }

    // Installs a browser for web links in this test's XDG_DATA_HOME (GIO finds scheme handlers through the
    // directory's mimeinfo.cache, so the cache is updated too). Returns an error message, or an empty string.
    static QString installTestBrowser();

private:
    std::unique_ptr<Host::DialogServer> m_server;
    std::unique_ptr<Host::AnswerPresenter> m_presenter;
    std::unique_ptr<Host::PluginLoader> m_loader;
    QStringList m_shownDialogs;
};

#endif
