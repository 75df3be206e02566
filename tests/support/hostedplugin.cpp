#include "hostedplugin.h"

#include "dialogserver.h"
#include "pluginloader.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QVariantMap>

HostedPlugin::HostedPlugin(Host::AnswerPresenter::Answer answer)
    : m_server(std::make_unique<Host::DialogServer>()), m_presenter(std::make_unique<Host::AnswerPresenter>(answer))
{
    m_server->addPresenter(m_presenter.get());
    QObject::connect(m_server.get(), &Host::DialogServer::dialogShown, m_server.get(),
                     [this](const QString&, const QVariantMap& properties) {
                         m_shownDialogs << properties.value(QStringLiteral("class")).toString();
                     });
    m_loader = std::make_unique<Host::PluginLoader>(m_server.get());
}

HostedPlugin::~HostedPlugin()
{
    m_loader.reset();
    m_presenter.reset();
    m_server.reset();
}

bool HostedPlugin::load(const QString& pluginFile, QString* error)
{
    return m_loader->load(pluginFile, error);
}

QString HostedPlugin::installTestBrowser()
{
    if (qEnvironmentVariableIsEmpty("XDG_DATA_HOME"))
        return QStringLiteral("XDG_DATA_HOME is not set (run under scripts/isolated)");
    const QString applications = qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/applications");
    if (!QDir().mkpath(applications))
        return QStringLiteral("cannot make %1").arg(applications);
    QFile browser(applications + QStringLiteral("/nfcui-test-browser.desktop"));
    if (!browser.open(QIODevice::WriteOnly))
        return QStringLiteral("cannot write %1: %2").arg(browser.fileName(), browser.errorString());
    browser.write("[Desktop Entry]\nType=Application\nName=Test Browser\nExec=/bin/true %u\n"
                  "MimeType=x-scheme-handler/http;x-scheme-handler/https;\n");
    browser.close();
    const int status = QProcess::execute(QStringLiteral("update-desktop-database"), {applications});
    if (status != 0)
        return QStringLiteral("update-desktop-database %1 failed with status %2").arg(applications).arg(status);
    return QString();
}
