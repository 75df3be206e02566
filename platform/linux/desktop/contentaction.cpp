// Content actions over GIO: the applications are the desktop entries found through XDG_DATA_HOME and
// XDG_DATA_DIRS, the handlers of a type come from their MimeType keys (through the mimeinfo.cache
// files) and the defaults from mimeapps.list. Qt's keywords are off in this file, because GLib's
// headers use "signals" as a name.
#define QT_NO_KEYWORDS
#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>
#include <glib-unix.h>

#include "contentaction.h"
#include "linuxlogging.h"
#include "spawnguard.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QHash>
#include <QMimeDatabase>
#include <QMimeType>
#include <QMutex>
#include <QMutexLocker>
#include <QReadWriteLock>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSet>
#include <QSharedData>
#include <QThreadPool>
#include <QVector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

// One reference to a GAppInfo.
class AppInfoRef
{
public:
    AppInfoRef() = default;
    // Takes over a reference the caller owns (what GIO's constructors and getters return).
    static AppInfoRef adopt(GAppInfo* info)
    {
        AppInfoRef ref;
        ref.m_info = info;
        return ref;
    }
    AppInfoRef(const AppInfoRef& other) : m_info(other.m_info)
    {
        if (m_info)
            g_object_ref(m_info);
    }
    AppInfoRef& operator=(const AppInfoRef& other)
    {
        AppInfoRef copy(other);
        std::swap(m_info, copy.m_info);
        return *this;
    }
    ~AppInfoRef()
    {
        if (m_info)
            g_object_unref(m_info);
    }

    GAppInfo* get() const { return m_info; }
    explicit operator bool() const { return m_info != nullptr; }
    QString id() const { return m_info ? QString::fromUtf8(g_app_info_get_id(m_info)) : QString(); }

private:
    GAppInfo* m_info = nullptr;
};

// Takes over the GAppInfos of a list GIO returns, in its order.
QVector<AppInfoRef> adoptList(GList* list)
{
    QVector<AppInfoRef> refs;
    refs.reserve(int(g_list_length(list)));
    for (GList* item = list; item; item = item->next)
        refs.append(AppInfoRef::adopt(G_APP_INFO(item->data)));
    g_list_free(list);
    return refs;
}

// Whether any file exists from which GIO takes configured defaults or added and removed
// associations: mimeapps.list and <desktop>-mimeapps.list (for each desktop XDG_CURRENT_DESKTOP names,
// in lower case) in the user's and the system's XDG configuration directories and in the applications
// directory of every XDG data directory, and the older defaults.list in the latter. Without any, GIO's
// default for a type is the first application it lists for the type (its own, then its parents'), so
// the list alone tells the default. A few access() calls, where a default lookup builds a desktop entry
// a second time.
bool associationFilesExist()
{
    std::vector<std::string> names{"mimeapps.list"};
    if (const char* desktops = g_getenv("XDG_CURRENT_DESKTOP")) {
        std::string desktop;
        for (const char* c = desktops;; ++c) {
            if (*c == ':' || *c == '\0') {
                if (!desktop.empty())
                    names.push_back(desktop + "-mimeapps.list");
                desktop.clear();
                if (*c == '\0')
                    break;
            } else {
                desktop += g_ascii_tolower(*c);
            }
        }
    }
    auto anyIn = [&names](const std::string& dir, bool applicationsDir) {
        for (const std::string& name : names) {
            if (::access((dir + '/' + name).c_str(), F_OK) == 0)
                return true;
        }
        return applicationsDir && ::access((dir + "/defaults.list").c_str(), F_OK) == 0;
    };
    if (anyIn(g_get_user_config_dir(), false) || anyIn(std::string(g_get_user_data_dir()) + "/applications", true))
        return true;
    for (const gchar* const* dir = g_get_system_config_dirs(); *dir; ++dir) {
        if (anyIn(*dir, false))
            return true;
    }
    for (const gchar* const* dir = g_get_system_data_dirs(); *dir; ++dir) {
        if (anyIn(std::string(*dir) + "/applications", true))
            return true;
    }
    return false;
}

// GIO re-reads a desktop entry from disk each time it builds a GAppInfo for it, so the answers are
// kept here. GIO's GAppInfoMonitor reports when the installed entries or the associations change. It
// is made under the default main context, which Qt's event dispatcher runs, so the report arrives
// through the event loop and a cached lookup costs no system call.
class Registry
{
public:
    Registry()
        : m_monitor(g_app_info_monitor_get())
    {
        m_handlerId = g_signal_connect(m_monitor, "changed", G_CALLBACK(&Registry::onChanged), this);
    }

    ~Registry()
    {
        g_signal_handler_disconnect(m_monitor, m_handlerId);
        g_object_unref(m_monitor);
    }

    Registry(const Registry&) = delete;
    Registry& operator=(const Registry&) = delete;

    // The applications for a content type, each once: its default first (GIO's configured default
    // of the type or of a parent, else the first handler), then every application that claims the
    // type or one of its parents, in GIO's order (the type's own first, then its parents' nearest
    // first), then those of the implicit parents that GIO's parent lists leave out (plain text for
    // text, the byte stream for everything), each claiming it itself. One scan of the entries for
    // the type, one for each implicit parent.
    QVector<AppInfoRef> handlersFor(const QString& contentType, const QStringList& implicitParents)
    {
        QMutexLocker lock(&m_mutex);
        dropIfChanged();
        auto it = m_types.constFind(contentType);
        if (it != m_types.constEnd())
            return it.value();

        const QByteArray type = contentType.toUtf8();
        // Without configured defaults the first application GIO lists is its default already.
        const AppInfoRef configuredDefault =
            associationsConfiguredLocked() ? defaultLocked(contentType) : AppInfoRef();
        QVector<AppInfoRef> answer = adoptList(g_app_info_get_all_for_type(type.constData()));
        // GIO lists each application once; only the default and the implicit parents' applications
        // can repeat one.
        if (configuredDefault || !implicitParents.isEmpty()) {
            QSet<QString> ids;
            QVector<AppInfoRef> listed;
            listed.swap(answer);
            auto add = [&](const AppInfoRef& app) {
                if (app && !ids.contains(app.id())) {
                    ids.insert(app.id());
                    answer.append(app);
                }
            };
            add(configuredDefault);
            for (const AppInfoRef& app : qAsConst(listed))
                add(app);
            for (const QString& parent : implicitParents) {
                for (const AppInfoRef& app :
                     adoptList(g_app_info_get_recommended_for_type(parent.toUtf8().constData())))
                    add(app);
            }
        }
        m_types.insert(contentType, answer);
        return answer;
    }

    // The first of handlersFor(), without listing the rest when GIO knows a default.
    AppInfoRef defaultFor(const QString& contentType, const QStringList& implicitParents)
    {
        {
            QMutexLocker lock(&m_mutex);
            dropIfChanged();
            auto it = m_types.constFind(contentType);
            if (it != m_types.constEnd())
                return it.value().value(0);
            const AppInfoRef app = defaultLocked(contentType);
            if (app || implicitParents.isEmpty())
                return app;
        }
        return handlersFor(contentType, implicitParents).value(0);
    }

    AppInfoRef entry(const QString& desktopId)
    {
        QMutexLocker lock(&m_mutex);
        dropIfChanged();
        auto it = m_entries.constFind(desktopId);
        if (it != m_entries.constEnd())
            return it.value();

        GDesktopAppInfo* info = g_desktop_app_info_new(desktopId.toUtf8().constData());
        const AppInfoRef answer = AppInfoRef::adopt(info ? G_APP_INFO(info) : nullptr);
        m_entries.insert(desktopId, answer);
        return answer;
    }

private:
    static void onChanged(GAppInfoMonitor*, gpointer self)
    {
        static_cast<Registry*>(self)->m_changed.store(true);
    }

    // Called with the mutex held: GIO's default for the type, kept.
    AppInfoRef defaultLocked(const QString& contentType)
    {
        auto known = m_defaults.constFind(contentType);
        if (known != m_defaults.constEnd())
            return known.value();
        const AppInfoRef app =
            AppInfoRef::adopt(g_app_info_get_default_for_type(contentType.toUtf8().constData(), FALSE));
        m_defaults.insert(contentType, app);
        return app;
    }

    // Called with the mutex held: whether association files exist, looked at once until a change is
    // reported (the monitor reports their changes too).
    bool associationsConfiguredLocked()
    {
        if (m_associations == Associations::Unknown)
            m_associations = associationFilesExist() ? Associations::Configured : Associations::None;
        return m_associations == Associations::Configured;
    }

    // Called with the mutex held: forgets the answers once a change was reported.
    void dropIfChanged()
    {
        if (m_changed.load(std::memory_order_relaxed) && m_changed.exchange(false)) {
            m_types.clear();
            m_defaults.clear();
            m_entries.clear();
            m_associations = Associations::Unknown;
        }
    }

    enum class Associations { Unknown, None, Configured };

    QMutex m_mutex;
    GAppInfoMonitor* m_monitor = nullptr;
    gulong m_handlerId = 0;
    std::atomic<bool> m_changed{false};
    Associations m_associations = Associations::Unknown;
    QHash<QString, QVector<AppInfoRef>> m_types;
    QHash<QString, AppInfoRef> m_defaults;
    QHash<QString, AppInfoRef> m_entries;
};

Q_GLOBAL_STATIC(Registry, registry)

// The URI scheme (lower case) of text that starts with one, as RFC 3986 spells it; empty otherwise.
// Scanned by hand: compiling a regular expression would cost a first lookup more than GIO's own.
QString schemeOf(const QString& uri)
{
    auto isAsciiLetter = [](QChar c) {
        return (c >= QLatin1Char('a') && c <= QLatin1Char('z')) || (c >= QLatin1Char('A') && c <= QLatin1Char('Z'));
    };
    if (uri.isEmpty() || !isAsciiLetter(uri.at(0)))
        return QString();
    for (int i = 1; i < uri.size(); ++i) {
        const QChar c = uri.at(i);
        if (c == QLatin1Char(':'))
            return uri.left(i).toLower();
        if (!isAsciiLetter(c) && !(c >= QLatin1Char('0') && c <= QLatin1Char('9')) && c != QLatin1Char('+')
            && c != QLatin1Char('.') && c != QLatin1Char('-'))
            return QString();
    }
    return QString();
}

// A phone number as people write it: digits with an optional leading "+", grouped with spaces, dashes
// or parentheses; between 3 and 20 digits. Returns its tel: URI (visual separators removed), or an
// empty string when the text is not one.
QString telUriFor(const QString& text)
{
    static const QRegularExpression phone(QStringLiteral("^\\+?[0-9 ()-]+$"));
    if (!phone.match(text).hasMatch())
        return QString();
    QString digits;
    for (const QChar c : text) {
        if (c.isDigit())
            digits.append(c);
    }
    if (digits.size() < 3 || digits.size() > 20)
        return QString();
    return QStringLiteral("tel:") + (text.startsWith(QLatin1Char('+')) ? QStringLiteral("+") : QString()) + digits;
}

// An e-mail address: a dot-separated local part of the characters RFC 5322 allows unquoted, "@", and
// a domain name of at least two labels. Returns its mailto: URI, or an empty string.
QString mailtoUriFor(const QString& text)
{
    static const QRegularExpression address(QStringLiteral(
        "^[A-Za-z0-9!#$%&'*+/=?^_`{|}~-]+(\\.[A-Za-z0-9!#$%&'*+/=?^_`{|}~-]+)*"
        "@[A-Za-z0-9]([A-Za-z0-9-]{0,61}[A-Za-z0-9])?(\\.[A-Za-z0-9]([A-Za-z0-9-]{0,61}[A-Za-z0-9])?)+$"));
    if (!address.match(text).hasMatch())
        return QString();
    QUrl uri;
    uri.setScheme(QStringLiteral("mailto"));
    uri.setPath(text, QUrl::DecodedMode);
    return uri.toString(QUrl::FullyEncoded);
}

// A file URL; an absolute path without a scheme is taken as a local file.
QUrl fileUrl(const QUrl& file)
{
    if (file.scheme().isEmpty() && file.path().startsWith(QLatin1Char('/')))
        return QUrl::fromLocalFile(file.path());
    return file;
}

// The content type of a file as the MIME database names it: the given one (aliases resolved), else
// the type detected from the file's name and content. A given type the database does not know can
// still have handlers; it keeps its name and has no parents.
struct FileType
{
    QString name;
    // The parents the shared MIME database implies without listing them (text/plain for text types,
    // application/octet-stream for all others), when they are among the type's ancestors.
    QStringList implicitParents;
};

FileType fileTypeFor(const QUrl& file, const QString& mimeType)
{
    QMimeDatabase db;
    QMimeType type;
    // "text/plain; charset=utf-8" names the type "text/plain".
    const QString name = mimeType.section(QLatin1Char(';'), 0, 0).trimmed().toLower();
    if (!name.isEmpty())
        type = db.mimeTypeForName(name);
    else if (file.isLocalFile())
        type = db.mimeTypeForFile(file.toLocalFile());
    else
        type = db.mimeTypeForUrl(file);
    if (!type.isValid())
        return FileType{name, {}};

    FileType result{type.name(), {}};
    const QStringList ancestors = type.allAncestors();
    for (const QString& implicit : {QStringLiteral("text/plain"), QStringLiteral("application/octet-stream")}) {
        if (ancestors.contains(implicit))
            result.implicitParents.append(implicit);
    }
    return result;
}

// The thread that starts programs (Action::trigger()). Its pool is destroyed with the program's
// static objects, after waiting for the launches asked for.
class Launcher : public QThreadPool
{
public:
    Launcher() { setMaxThreadCount(1); }
};

Q_GLOBAL_STATIC(Launcher, launcher)

// How long a launch waits for a touch sound being handed to the sound system before it forks instead
// (see launchUris()), in milliseconds.
constexpr int SpawnGuardWait = 100;

// Whether every descriptor of the process above standard error is closed on exec. A program then
// inherits none of them even when it is spawned without closing descriptors.
bool allDescriptorsCloseOnExec()
{
    DIR* dir = ::opendir("/proc/self/fd");
    if (!dir)
        return false;
    const int listing = ::dirfd(dir);
    bool all = true;
    while (const dirent* entry = ::readdir(dir)) {
        char* end = nullptr;
        const long fd = std::strtol(entry->d_name, &end, 10);
        if (end == entry->d_name || *end != '\0' || fd <= STDERR_FILENO || fd == listing)
            continue;
        const int flags = ::fcntl(int(fd), F_GETFD);
        if (flags >= 0 && !(flags & FD_CLOEXEC)) {
            all = false;
            break;
        }
    }
    ::closedir(dir);
    return all;
}

// Whether the default GLib main context is run by the application's event loop (Qt's GLib event
// dispatcher in the main thread), which is where a started program's end is noticed. Asked on the
// thread that asks for the launch, while the application certainly exists.
bool mainLoopRunsGlib()
{
    const QCoreApplication* app = QCoreApplication::instance();
    const QAbstractEventDispatcher* dispatcher = app ? QAbstractEventDispatcher::instance(app->thread()) : nullptr;
    return dispatcher && dispatcher->inherits("QEventDispatcherGlib");
}

// Collects a started program's exit status once it has ended, so that it does not stay a zombie.
// The pidfd becomes readable when the program ends, and is what is waited on where the kernel allows
// (P_PIDFD, Linux 5.4): a process id could meanwhile name another process if someone else had
// collected this one.
gboolean reapOnExit(gint pidfd, GIOCondition, gpointer pid)
{
    siginfo_t info {};
    if (::waitid(P_PIDFD, id_t(pidfd), &info, WEXITED | WNOHANG) != 0 && errno == EINVAL)
        ::waitpid(GPOINTER_TO_INT(pid), nullptr, WNOHANG);
    ::close(pidfd);
    return G_SOURCE_REMOVE;
}

void reapChild(GPid pid, gint, gpointer)
{
    g_spawn_close_pid(pid);
}

void watchStartedProgram(GDesktopAppInfo*, GPid pid, gpointer)
{
    // A pidfd needs no SIGCHLD handler; GLib's child watch (which installs one) is the fallback for
    // kernels without pidfd_open.
    const int pidfd = int(::syscall(SYS_pidfd_open, pid, 0));
    if (pidfd >= 0)
        g_unix_fd_add(pidfd, G_IO_IN, reapOnExit, GINT_TO_POINTER(pid));
    else
        g_child_watch_add(pid, reapChild, nullptr);
}

// Starts the application on the URIs. GIO's plain launch forks the dialog server, and the copy forks
// the program (so that nobody has to collect the program's exit status): the first fork copies
// the page tables of the whole process, stalls its other threads' page faults while it does, and
// makes every page the process writes afterwards a copy. Where the spawned program cannot inherit a
// descriptor anyway (all are closed on exec), GLib spawns it with posix_spawn instead, which shares the
// address space until the exec, and the program's exit status is collected through the event loop.
//
// Qt and GLib open their descriptors close-on-exec; what the platform runs on threads of its own that may
// open one without (the touch sound) holds the spawn guard meanwhile, and the check and the spawn hold it
// against them. A sound that takes longer than SpawnGuardWait (a sound device that blocks) is not waited
// for: the program is then started the forking way, which closes every descriptor in the copy.
// (Descriptors other code opens without close-on-exec on threads of its own between the check and the
// spawn would still reach the program.)
gboolean launchUris(GAppInfo* app, GList* uris, bool reapedByEventLoop, GError** error)
{
    if (G_IS_DESKTOP_APP_INFO(app) && reapedByEventLoop && SpawnGuard::lock().tryLockForWrite(SpawnGuardWait)) {
        const auto release = qScopeGuard([] { SpawnGuard::lock().unlock(); });
        if (allDescriptorsCloseOnExec()) {
            const GSpawnFlags flags =
                GSpawnFlags(G_SPAWN_SEARCH_PATH | G_SPAWN_DO_NOT_REAP_CHILD | G_SPAWN_LEAVE_DESCRIPTORS_OPEN);
            return g_desktop_app_info_launch_uris_as_manager_with_fds(G_DESKTOP_APP_INFO(app), uris, nullptr, flags,
                                                                      nullptr, nullptr, watchStartedProgram, nullptr,
                                                                      -1, -1, -1, error);
        }
    }
    return g_app_info_launch_uris(app, uris, nullptr, error);
}

void launch(const AppInfoRef& appRef, const QStringList& arguments, bool reapedByEventLoop)
{
    GAppInfo* app = appRef.get();
    // An entry whose Exec line takes no URIs or files (and that is not started over D-Bus) is started
    // once without them, where GIO would start it once per argument.
    const bool takesArguments = g_app_info_supports_uris(app) || g_app_info_supports_files(app)
        || (G_IS_DESKTOP_APP_INFO(app)
            && g_desktop_app_info_get_boolean(G_DESKTOP_APP_INFO(app), "DBusActivatable"));
    QList<QByteArray> storage;
    GList* uris = nullptr;
    if (takesArguments) {
        for (const QString& argument : arguments) {
            storage.append(argument.toUtf8());
            uris = g_list_append(uris, storage.last().data());
        }
    }

    // GIO expands the field codes, passes file: URIs to %f/%F as paths, uses D-Bus activation where
    // the entry asks for it, and starts the program (see launchUris() for how).
    GError* error = nullptr;
    const gboolean started = launchUris(app, uris, reapedByEventLoop, &error);
    g_list_free(uris);
    if (!started) {
        qCWarning(lcDesktop, "ContentAction: could not start %s: %s", qUtf8Printable(appRef.id()),
                  error ? error->message : "unknown error");
    }
    if (error)
        g_error_free(error);
}

} // namespace

namespace ContentAction {

class ActionPrivate : public QSharedData
{
public:
    ActionPrivate() = default;
    ActionPrivate(const ActionPrivate&) = default;
    ActionPrivate& operator=(const ActionPrivate&) = delete;

    // The application; none for an invalid action.
    AppInfoRef app;
    // What the application is started on: a URI, a file URL, or the launcher arguments. They are
    // given to GIO as the URI list, which expands them into the Exec line's field codes.
    QStringList arguments;

    static Action make(const AppInfoRef& app, const QStringList& arguments)
    {
        ActionPrivate* d = new ActionPrivate;
        d->app = app;
        d->arguments = arguments;
        return Action(d);
    }

    // The actions of the applications for a content type (Registry::handlersFor()).
    static QList<Action> forType(const QString& contentType, const QStringList& arguments,
                                 const QStringList& implicitParents = QStringList())
    {
        if (contentType.isEmpty())
            return {};
        const QVector<AppInfoRef> apps = registry()->handlersFor(contentType, implicitParents);
        QList<Action> actions;
        actions.reserve(apps.size());
        for (const AppInfoRef& app : apps)
            actions.append(make(app, arguments));
        return actions;
    }
};

Action::Action()
    : d(new ActionPrivate)
{
}

Action::Action(ActionPrivate* d)
    : d(d)
{
}

Action::Action(const Action& other) = default;
Action& Action::operator=(const Action& other) = default;
Action::~Action() = default;

bool Action::isValid() const
{
    return bool(d->app);
}

QString Action::name() const
{
    QString id = d->app.id();
    if (id.endsWith(QLatin1String(".desktop")))
        id.chop(int(qstrlen(".desktop")));
    return id;
}

void Action::trigger() const
{
    if (!d->app)
        return;
    // Starting a program reads its entry and spawns it (or forks the dialog server, see launchUris()),
    // which takes up to milliseconds; the launcher's thread does it, so that neither the event loop nor
    // the reply the NFC daemon waits for waits on it. One thread, so that programs start in the order
    // they were asked for.
    const AppInfoRef app = d->app;
    const QStringList arguments = d->arguments;
    const bool reapedByEventLoop = mainLoopRunsGlib();
    launcher()->start([app, arguments, reapedByEventLoop] { launch(app, arguments, reapedByEventLoop); });
}

QList<Action> Action::actionsForString(const QString& text)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return {};

    // An absolute URI: a scheme and nothing a URI cannot hold (such as spaces).
    const QString scheme = schemeOf(trimmed);
    if (!scheme.isEmpty() && QUrl(trimmed, QUrl::StrictMode).isValid())
        return ActionPrivate::forType(QStringLiteral("x-scheme-handler/") + scheme, {trimmed});

    const QString tel = telUriFor(trimmed);
    if (!tel.isEmpty())
        return ActionPrivate::forType(QStringLiteral("x-scheme-handler/tel"), {tel});

    const QString mailto = mailtoUriFor(trimmed);
    if (!mailto.isEmpty())
        return ActionPrivate::forType(QStringLiteral("x-scheme-handler/mailto"), {mailto});

    return {};
}

QList<Action> Action::actionsForScheme(const QString& uri)
{
    const QString scheme = schemeOf(uri);
    if (scheme.isEmpty())
        return {};
    return ActionPrivate::forType(QStringLiteral("x-scheme-handler/") + scheme, {uri});
}

QList<Action> Action::actionsForFile(const QUrl& file)
{
    return actionsForFile(file, QString());
}

QList<Action> Action::actionsForFile(const QUrl& file, const QString& mimeType)
{
    const QUrl url = fileUrl(file);
    if (url.isEmpty() || !url.isValid())
        return {};
    const FileType type = fileTypeFor(url, mimeType);
    return ActionPrivate::forType(type.name, {url.toString(QUrl::FullyEncoded)}, type.implicitParents);
}

Action Action::defaultActionForFile(const QUrl& file)
{
    return defaultActionForFile(file, QString());
}

Action Action::defaultActionForFile(const QUrl& file, const QString& mimeType)
{
    // The first of actionsForFile(): the default, which GIO gives alone without listing the rest.
    const QUrl url = fileUrl(file);
    if (url.isEmpty() || !url.isValid())
        return Action();
    const FileType type = fileTypeFor(url, mimeType);
    const AppInfoRef app = type.name.isEmpty() ? AppInfoRef() : registry()->defaultFor(type.name, type.implicitParents);
    return app ? ActionPrivate::make(app, {url.toString(QUrl::FullyEncoded)}) : Action();
}

// The arguments are handed to GIO as the entry's URI list, exactly as given; GIO substitutes them for
// the Exec line's field codes: %U passes them all as they are to one process, %u one per process,
// %F and %f pass those that are file: URIs as local paths. An entry without such a field code is
// started once without them (see trigger()).
Action Action::launcherAction(const QString& desktopEntry, const QStringList& arguments)
{
    if (desktopEntry.isEmpty())
        return Action();
    QString id = desktopEntry;
    if (!id.endsWith(QLatin1String(".desktop")))
        id.append(QLatin1String(".desktop"));
    const AppInfoRef app = registry()->entry(id);
    return app ? ActionPrivate::make(app, arguments) : Action();
}

} // namespace ContentAction
