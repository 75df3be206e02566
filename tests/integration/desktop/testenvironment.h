#ifndef NFCUI_TESTENVIRONMENT_H
#define NFCUI_TESTENVIRONMENT_H

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>
#include <QStringList>
#include <QtGlobal>

// Gives the running suite a home and XDG directories of its own under root, so that nothing it does
// reaches the user's files, even when it is started without scripts/isolated. Must run before the
// first use of GIO, KDE libraries or QMimeDatabase, which read these variables once.
namespace TestEnvironment {

// Where applications are installed "system-wide" for the suite: the first entry of XDG_DATA_DIRS.
inline QString systemDataDir(const QString& root)
{
    return root + QStringLiteral("/system");
}

inline QString dataHome(const QString& root)
{
    return root + QStringLiteral("/data");
}

inline QString configHome(const QString& root)
{
    return root + QStringLiteral("/config");
}

// Returns an error message, or an empty string when the environment is ready.
inline QString isolate(const QString& root)
{
    // The shared MIME database stays visible (QMimeDatabase and GIO need it to know file types), but
    // through a directory of its own, so that the applications installed on the machine are not.
    QString sharedMime;
    const QString dataDirs = qEnvironmentVariable("XDG_DATA_DIRS", QStringLiteral("/usr/local/share:/usr/share"));
    for (const QString& dir : dataDirs.split(QLatin1Char(':'), Qt::SkipEmptyParts)) {
        if (QFileInfo::exists(dir + QStringLiteral("/mime/mime.cache"))) {
            sharedMime = QDir(dir + QStringLiteral("/mime")).canonicalPath();
            break;
        }
    }
    if (sharedMime.isEmpty())
        return QStringLiteral("no shared MIME database in XDG_DATA_DIRS (%1)").arg(dataDirs);

    const QStringList dirs{QStringLiteral("home"), QStringLiteral("data/applications"), QStringLiteral("config"),
                           QStringLiteral("cache"), QStringLiteral("config-dirs"), QStringLiteral("runtime"),
                           QStringLiteral("system/applications"), QStringLiteral("shared")};
    for (const QString& dir : dirs) {
        if (!QDir().mkpath(root + QLatin1Char('/') + dir))
            return QStringLiteral("cannot create %1/%2").arg(root, dir);
    }
    QFile::setPermissions(root + QStringLiteral("/runtime"), QFileDevice::ReadOwner | QFileDevice::WriteOwner
                                                                 | QFileDevice::ExeOwner);
    if (!QFile::link(sharedMime, root + QStringLiteral("/shared/mime")))
        return QStringLiteral("cannot link the shared MIME database %1").arg(sharedMime);

    qputenv("HOME", QFile::encodeName(root + QStringLiteral("/home")));
    qputenv("XDG_DATA_HOME", QFile::encodeName(dataHome(root)));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(configHome(root)));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(root + QStringLiteral("/cache")));
    qputenv("XDG_CONFIG_DIRS", QFile::encodeName(root + QStringLiteral("/config-dirs")));
    qputenv("XDG_DATA_DIRS",
            QFile::encodeName(systemDataDir(root) + QLatin1Char(':') + root + QStringLiteral("/shared")));
    // No desktop-specific association files.
    qunsetenv("XDG_CURRENT_DESKTOP");
    // Off the private buses of scripts/isolated, no bus at all rather than the user's.
    if (qEnvironmentVariableIsEmpty("NFCUI_PRIVATE_BUSES")) {
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        qunsetenv("DISPLAY");
        qunsetenv("WAYLAND_DISPLAY");
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(root + QStringLiteral("/runtime")));
    }
    return QString();
}

} // namespace TestEnvironment

#endif
