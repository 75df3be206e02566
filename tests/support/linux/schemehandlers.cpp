#include "schemehandlers.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTextStream>

#undef signals
#include <gio/gio.h>

QString SchemeHandlers::isolate(const QString& dir)
{
    const QString system = dir + QStringLiteral("/system");
    if (!QDir().mkpath(system + QStringLiteral("/applications")))
        return QStringLiteral("cannot create %1").arg(system);
    qputenv("XDG_DATA_DIRS", QFile::encodeName(system));
    qunsetenv("XDG_CURRENT_DESKTOP");
    return QString();
}

QString SchemeHandlers::logFile(const QString& scheme) const
{
    return m_dir + QStringLiteral("/opened-") + scheme + QStringLiteral(".log");
}

QString SchemeHandlers::install(const QString& scheme)
{
    const QString dataHome = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    const QString configHome = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    const QString applications = dataHome + QStringLiteral("/applications");
    if (!QDir().mkpath(applications) || !QDir().mkpath(configHome) || !QDir().mkpath(m_dir))
        return QStringLiteral("cannot create the directories for the %1 recorder").arg(scheme);

    const QString script = m_dir + QStringLiteral("/record-") + scheme;
    QFile program(script);
    if (!program.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return QStringLiteral("cannot write %1").arg(script);
    program.write("#!/bin/sh\nprintf '%s\\n' \"$1\" >> '" + QFile::encodeName(logFile(scheme)) + "'\n");
    program.close();
    program.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);

    const QString id = QStringLiteral("nfcui-record-") + scheme + QStringLiteral(".desktop");
    QFile entry(applications + QLatin1Char('/') + id);
    if (!entry.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return QStringLiteral("cannot write %1").arg(entry.fileName());
    QTextStream(&entry) << "[Desktop Entry]\nType=Application\nName=Record " << scheme << "\nExec=" << script
                        << " %u\nMimeType=x-scheme-handler/" << scheme << ";\nNoDisplay=true\n";
    entry.close();

    QFile mimeapps(configHome + QStringLiteral("/mimeapps.list"));
    QString associations;
    if (mimeapps.open(QIODevice::ReadOnly)) {
        associations = QString::fromUtf8(mimeapps.readAll());
        mimeapps.close();
    }
    if (!associations.startsWith(QLatin1String("[Default Applications]\n")))
        associations.prepend(QStringLiteral("[Default Applications]\n"));
    associations.append(QStringLiteral("x-scheme-handler/%1=%2\n").arg(scheme, id));
    if (!mimeapps.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return QStringLiteral("cannot write %1").arg(mimeapps.fileName());
    mimeapps.write(associations.toUtf8());
    return QString();
}

QStringList SchemeHandlers::opened(const QString& scheme) const
{
    QFile log(logFile(scheme));
    if (!log.open(QIODevice::ReadOnly))
        return QStringList();
    return QString::fromUtf8(log.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

bool SchemeHandlers::isHandled(const QString& scheme)
{
    GAppInfo* app = g_app_info_get_default_for_uri_scheme(scheme.toUtf8().constData());
    if (!app)
        return false;
    g_object_unref(app);
    return true;
}
