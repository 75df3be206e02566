#ifndef NFCUI_HOST_PLUGINLOADER_H
#define NFCUI_HOST_PLUGINLOADER_H

#include <QObject>
#include <QScopedPointer>
#include <QStringList>

class ConnectivityDialogServerInterface;
class ConnectivityDialogPluginInterface;

namespace Host {

class PluginLoaderPrivate;

// Loads dialog plugins through their two C entry points and initializes them with the server.
//
// A library is accepted when it loads, exports qt_plugin_query_verification_data() and
// qt_plugin_instance(), its verification text carries the pattern QT_PLUGIN_VERIFICATION_DATA, and its
// instance casts to ConnectivityDialogPluginInterface. A library that fails a step is reported with its
// path and the reason, and skipped; the others are loaded regardless.
class PluginLoader : public QObject
{
    Q_OBJECT
public:
    explicit PluginLoader(ConnectivityDialogServerInterface* server, QObject* parent = nullptr);
    // Destroys every plugin that is still initialized.
    ~PluginLoader() override;

    // Loads and initializes one library. On failure returns false and sets *error to "<path>: <reason>".
    bool load(const QString& file, QString* error = nullptr);
    // Loads every shared library ("*.so") in the directory, in name order. Returns how many were loaded;
    // each failure is logged and listed in failures().
    int loadDirectory(const QString& directory);

    QStringList loadedFiles() const;
    QList<ConnectivityDialogPluginInterface*> plugins() const;
    // "<path>: <reason>" for every library that was skipped.
    QStringList failures() const;

    // Calls destroy() on every initialized plugin, in reverse load order. Safe to call more than once.
    void destroyAll();

    // The value of one field ("pattern", "version", ...) of a verification text.
    static QString verificationField(const QByteArray& verificationData, const QString& field);

private:
    QScopedPointer<PluginLoaderPrivate> d;
};

} // namespace Host

#endif
