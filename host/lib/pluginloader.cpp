#include "pluginloader.h"
#include "hostlogging.h"

#include "connectivitydialogplugininterface.h"

#include <QDir>
#include <QFileInfo>
#include <QLibrary>
#include <QPointer>

#include <memory>
#include <vector>

namespace Host {

namespace {
typedef const char* (*VerificationFunction)();
typedef QObject* (*InstanceFunction)();

const char* const requiredPattern = "QT_PLUGIN_VERIFICATION_DATA";

struct LoadedPlugin
{
    QString file;
    std::unique_ptr<QLibrary> library;
    QPointer<QObject> instance;
    ConnectivityDialogPluginInterface* plugin = nullptr;
};
} // namespace

class PluginLoaderPrivate
{
public:
    ConnectivityDialogServerInterface* server = nullptr;
    std::vector<LoadedPlugin> plugins;
    QStringList failures;

    bool fail(const QString& file, const QString& reason, QString* error)
    {
        const QString message = file + QStringLiteral(": ") + reason;
        qCWarning(lcHost).noquote() << "Skipping plugin" << message;
        failures.append(message);
        if (error)
            *error = message;
        return false;
    }
};

PluginLoader::PluginLoader(ConnectivityDialogServerInterface* server, QObject* parent)
    : QObject(parent), d(new PluginLoaderPrivate)
{
    d->server = server;
}

PluginLoader::~PluginLoader()
{
    destroyAll();
}

QString PluginLoader::verificationField(const QByteArray& verificationData, const QString& field)
{
    const QList<QByteArray> lines = verificationData.split('\n');
    for (const QByteArray& line : lines) {
        const int equals = line.indexOf('=');
        if (equals > 0 && QString::fromLatin1(line.left(equals)) == field)
            return QString::fromLatin1(line.mid(equals + 1));
    }
    return QString();
}

bool PluginLoader::load(const QString& file, QString* error)
{
    const QFileInfo info(file);
    const QString path = info.absoluteFilePath();
    if (!info.exists())
        return d->fail(path, QStringLiteral("no such file"), error);
    for (const LoadedPlugin& loaded : d->plugins) {
        if (QFileInfo(loaded.file).canonicalFilePath() == info.canonicalFilePath())
            return d->fail(path, QStringLiteral("already loaded"), error);
    }

    auto library = std::make_unique<QLibrary>(path);
    if (!library->load())
        return d->fail(path, QStringLiteral("cannot be loaded: ") + library->errorString(), error);

    auto verification = reinterpret_cast<VerificationFunction>(library->resolve("qt_plugin_query_verification_data"));
    if (!verification) {
        library->unload();
        return d->fail(path, QStringLiteral("no entry point qt_plugin_query_verification_data"), error);
    }
    auto instanceFunction = reinterpret_cast<InstanceFunction>(library->resolve("qt_plugin_instance"));
    if (!instanceFunction) {
        library->unload();
        return d->fail(path, QStringLiteral("no entry point qt_plugin_instance"), error);
    }

    const char* verificationText = verification();
    const QByteArray verificationData(verificationText ? verificationText : "");
    const QString pattern = verificationField(verificationData, QStringLiteral("pattern"));
    if (pattern != QLatin1String(requiredPattern)) {
        library->unload();
        return d->fail(path, QStringLiteral("verification data has pattern \"%1\" instead of %2")
                                 .arg(pattern, QLatin1String(requiredPattern)), error);
    }
    qCDebug(lcHost).noquote() << path << "built against Qt"
                              << verificationField(verificationData, QStringLiteral("version")) << "buildkey"
                              << verificationField(verificationData, QStringLiteral("buildkey"));

    QObject* instance = instanceFunction();
    if (!instance) {
        library->unload();
        return d->fail(path, QStringLiteral("qt_plugin_instance() returned no object"), error);
    }
    auto* plugin = qobject_cast<ConnectivityDialogPluginInterface*>(instance);
    if (!plugin) {
        // The object came from the library and may still be referenced there: keep the library loaded.
        return d->fail(path, QStringLiteral("%1 is not a ConnectivityDialogPluginInterface")
                                 .arg(QString::fromLatin1(instance->metaObject()->className())), error);
    }

    plugin->initialize(d->server);
    qCInfo(lcHost).noquote() << "Loaded plugin" << path << "(" + QString::fromLatin1(instance->metaObject()->className()) + ")";

    LoadedPlugin loaded;
    loaded.file = path;
    loaded.library = std::move(library);
    loaded.instance = instance;
    loaded.plugin = plugin;
    d->plugins.push_back(std::move(loaded));
    return true;
}

int PluginLoader::loadDirectory(const QString& directory)
{
    const QDir dir(directory);
    if (!dir.exists()) {
        d->fail(QFileInfo(directory).absoluteFilePath(), QStringLiteral("no such directory"), nullptr);
        return 0;
    }
    int count = 0;
    const QFileInfoList files =
        dir.entryInfoList({QStringLiteral("*.so")}, QDir::Files | QDir::Readable, QDir::Name);
    for (const QFileInfo& file : files) {
        if (load(file.absoluteFilePath()))
            ++count;
    }
    return count;
}

QStringList PluginLoader::loadedFiles() const
{
    QStringList files;
    for (const LoadedPlugin& loaded : d->plugins)
        files.append(loaded.file);
    return files;
}

QList<ConnectivityDialogPluginInterface*> PluginLoader::plugins() const
{
    QList<ConnectivityDialogPluginInterface*> result;
    for (const LoadedPlugin& loaded : d->plugins) {
        if (loaded.instance)
            result.append(loaded.plugin);
    }
    return result;
}

QStringList PluginLoader::failures() const
{
    return d->failures;
}

void PluginLoader::destroyAll()
{
    // The libraries stay loaded: plugin objects and their statics live until the process ends.
    for (auto it = d->plugins.rbegin(); it != d->plugins.rend(); ++it) {
        if (it->instance && it->plugin->isInitialized()) {
            qCInfo(lcHost).noquote() << "Destroying plugin" << it->file;
            it->plugin->destroy();
        }
    }
}

} // namespace Host
