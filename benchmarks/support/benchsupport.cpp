#include "benchsupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QLibrary>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>

#include "connectivitydialogplugininterface.h"

namespace Bench {

double percentile(std::vector<qint64> values, double p)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    const size_t index = std::min(values.size() - 1, size_t(p * double(values.size() - 1) + 0.5));
    return double(values[index]) / 1000.0;
}

bool waitSleeping(const std::function<bool()>& done, int timeoutMs)
{
    // Wakes the wait at the deadline when nothing else does.
    QTimer deadline;
    deadline.setSingleShot(true);
    deadline.start(timeoutMs);
    while (!done()) {
        if (!deadline.isActive())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

void idle(int ms)
{
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

bool setUpPrivateHome(const QTemporaryDir& home, bool quiet, QString* error)
{
    if (!home.isValid()) {
        *error = QStringLiteral("no temporary directory");
        return false;
    }
    qputenv("HOME", QFile::encodeName(home.path()));
    qputenv("XDG_DATA_HOME", QFile::encodeName(home.filePath(QStringLiteral("data"))));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.filePath(QStringLiteral("config"))));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(home.filePath(QStringLiteral("cache"))));
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Log lines would be most of what is measured: they are switched off unless asked for.
    if (qEnvironmentVariableIsEmpty("QT_LOGGING_RULES")) {
        qputenv("QT_LOGGING_RULES",
                quiet ? "*.debug=false\n*.info=false\n*.warning=false" : "*.debug=false\n*.info=false");
    }
    const QString applications = home.filePath(QStringLiteral("data/applications"));
    QDir().mkpath(applications);
    QFile browser(applications + QStringLiteral("/bench-browser.desktop"));
    if (!browser.open(QIODevice::WriteOnly)) {
        *error = QStringLiteral("cannot write the browser's desktop entry");
        return false;
    }
    browser.write("[Desktop Entry]\nType=Application\nName=Bench Browser\nExec=/bin/true %u\n"
                  "MimeType=x-scheme-handler/http;x-scheme-handler/https;\n");
    browser.close();
    if (QProcess::execute(QStringLiteral("update-desktop-database"), {applications}) != 0) {
        *error = QStringLiteral("update-desktop-database is missing (desktop-file-utils)");
        return false;
    }
    return true;
}

ConnectivityDialogPluginInterface* loadDialogPlugin(const QString& fileName, QString* error)
{
    typedef QObject* (*InstanceFunction)();
    auto* library = new QLibrary(fileName); // stays loaded for the life of the process
    if (!library->load()) {
        *error = library->errorString();
        return nullptr;
    }
    auto instance = reinterpret_cast<InstanceFunction>(library->resolve("qt_plugin_instance"));
    auto* plugin = instance ? qobject_cast<ConnectivityDialogPluginInterface*>(instance()) : nullptr;
    if (!plugin)
        *error = QStringLiteral("the library holds no dialog plugin");
    return plugin;
}

long residentKiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').value(0).toLong();
    }
    return -1;
}

int openDescriptors()
{
    // The count includes the descriptor the listing itself holds open, the same one in every count.
    const QDir fds(QStringLiteral("/proc/self/fd"));
    return int(fds.entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System).size());
}

} // namespace Bench
