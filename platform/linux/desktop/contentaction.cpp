// Content actions over GIO: the applications are the desktop entries found through XDG_DATA_HOME and
// XDG_DATA_DIRS, the handlers of a type come from their MimeType keys (through the mimeinfo.cache
// files) and the defaults from mimeapps.list. Qt's keywords are off in this file, because GLib's
// headers use "signals" as a name.
#define QT_NO_KEYWORDS
#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>

#include "contentaction.h"
#include "linuxlogging.h"

#include <QHash>
#include <QMimeDatabase>
#include <QMimeType>
#include <QMutex>
#include <QMutexLocker>
#include <QRegularExpression>
#include <QSharedData>
#include <QVector>

#include <atomic>

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
    for (GList* item = list; item; item = item->next)
        refs.append(AppInfoRef::adopt(G_APP_INFO(item->data)));
    g_list_free(list);
    return refs;
}

bool containsId(const QVector<AppInfoRef>& refs, const QString& id)
{
    for (const AppInfoRef& ref : refs) {
        if (ref.id() == id)
            return true;
    }
    return false;
}

// What GIO answers for one content type.
struct TypeHandlers
{
    // g_app_info_get_default_for_type(): the configured default, else the first handler of the type,
    // else (falling back through GIO's parent types) the default or first handler of a parent.
    AppInfoRef defaultHandler;
    // True when the default may be one of the parents' handlers rather than this type's own choice:
    // it does not claim the type itself but claims one of its parents.
    bool defaultMayBeInherited = false;
    // The applications that claim the type itself, in GIO's order.
    QVector<AppInfoRef> handlers;
};

// GIO re-reads a desktop entry from disk each time it builds a GAppInfo for it, so the answers are
// kept here. GIO's GAppInfoMonitor reports when the installed entries or the associations change;
// it is attached to a main context of our own, which each lookup checks without blocking, so the
// cache is dropped even when no GLib main loop runs in the process.
class Registry
{
public:
    Registry()
        : m_context(g_main_context_new())
    {
        g_main_context_push_thread_default(m_context);
        m_monitor = g_app_info_monitor_get();
        g_main_context_pop_thread_default(m_context);
        m_handlerId = g_signal_connect(m_monitor, "changed", G_CALLBACK(&Registry::onChanged), this);
    }

    ~Registry()
    {
        g_signal_handler_disconnect(m_monitor, m_handlerId);
        // The monitor belongs to the context it was created under.
        g_main_context_push_thread_default(m_context);
        g_object_unref(m_monitor);
        g_main_context_pop_thread_default(m_context);
        m_types.clear();
        m_entries.clear();
        g_main_context_unref(m_context);
    }

    Registry(const Registry&) = delete;
    Registry& operator=(const Registry&) = delete;

    TypeHandlers handlersFor(const QString& contentType)
    {
        QMutexLocker lock(&m_mutex);
        dropIfChanged();
        auto it = m_types.constFind(contentType);
        if (it != m_types.constEnd())
            return it.value();

        const QByteArray type = contentType.toUtf8();
        TypeHandlers answer;
        answer.defaultHandler = AppInfoRef::adopt(g_app_info_get_default_for_type(type.constData(), FALSE));
        answer.handlers = adoptList(g_app_info_get_recommended_for_type(type.constData()));
        if (answer.defaultHandler) {
            const QString id = answer.defaultHandler.id();
            answer.defaultMayBeInherited = !containsId(answer.handlers, id)
                && containsId(adoptList(g_app_info_get_fallback_for_type(type.constData())), id);
        }
        m_types.insert(contentType, answer);
        return answer;
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

    // Called with the mutex held. Delivers a pending change report, if any, and forgets the answers.
    void dropIfChanged()
    {
        while (g_main_context_iteration(m_context, FALSE)) {
        }
        if (m_changed.exchange(false)) {
            m_types.clear();
            m_entries.clear();
        }
    }

    QMutex m_mutex;
    GMainContext* m_context = nullptr;
    GAppInfoMonitor* m_monitor = nullptr;
    gulong m_handlerId = 0;
    std::atomic<bool> m_changed{false};
    QHash<QString, TypeHandlers> m_types;
    QHash<QString, AppInfoRef> m_entries;
};

Q_GLOBAL_STATIC(Registry, registry)

// The URI scheme (lower case) of text that starts with one, as RFC 3986 spells it; empty otherwise.
QString schemeOf(const QString& uri)
{
    static const QRegularExpression scheme(QStringLiteral("^([A-Za-z][A-Za-z0-9+.-]*):"));
    const QRegularExpressionMatch match = scheme.match(uri);
    return match.hasMatch() ? match.captured(1).toLower() : QString();
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

// The content types whose handlers can open the file: its own type, then its ancestors nearest
// first. Without a given type the type is detected from the file (name and content).
QStringList contentTypesFor(const QUrl& file, const QString& mimeType)
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

    if (!type.isValid()) {
        // A type the MIME database does not know can still have handlers; it has no known parents.
        return name.isEmpty() ? QStringList() : QStringList{name};
    }
    return QStringList{type.name()} + type.allAncestors();
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

    // The actions of the handlers of the content types, each once: for every type its default first
    // (for the first type even when GIO found it through a parent), then the applications that claim
    // the type in GIO's order.
    static QList<Action> forTypes(const QStringList& contentTypes, const QStringList& arguments)
    {
        QVector<AppInfoRef> apps;
        QStringList ids;
        auto add = [&](const AppInfoRef& app) {
            const QString id = app.id();
            if (!app || ids.contains(id))
                return;
            ids.append(id);
            apps.append(app);
        };
        for (int i = 0; i < contentTypes.size(); ++i) {
            const TypeHandlers answer = registry()->handlersFor(contentTypes.at(i));
            if (i == 0 || !answer.defaultMayBeInherited)
                add(answer.defaultHandler);
            for (const AppInfoRef& app : answer.handlers)
                add(app);
        }
        QList<Action> actions;
        actions.reserve(apps.size());
        for (const AppInfoRef& app : qAsConst(apps))
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
    GAppInfo* app = d->app.get();
    if (!app)
        return;

    // An entry whose Exec line takes no URIs or files (and that is not started over D-Bus) is started
    // once without them, where GIO would start it once per argument.
    const bool takesArguments = g_app_info_supports_uris(app) || g_app_info_supports_files(app)
        || (G_IS_DESKTOP_APP_INFO(app)
            && g_desktop_app_info_get_boolean(G_DESKTOP_APP_INFO(app), "DBusActivatable"));
    QList<QByteArray> storage;
    GList* uris = nullptr;
    if (takesArguments) {
        for (const QString& argument : qAsConst(d->arguments)) {
            storage.append(argument.toUtf8());
            uris = g_list_append(uris, storage.last().data());
        }
    }

    // GIO expands the field codes, passes file: URIs to %f/%F as paths, uses D-Bus activation where
    // the entry asks for it, and spawns the program detached (it is not our child).
    GError* error = nullptr;
    const gboolean started = g_app_info_launch_uris(app, uris, nullptr, &error);
    g_list_free(uris);
    if (!started) {
        qCWarning(lcDesktop, "ContentAction: could not start %s: %s", qUtf8Printable(d->app.id()),
                 error ? error->message : "unknown error");
    }
    if (error)
        g_error_free(error);
}

QList<Action> Action::actionsForString(const QString& text)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return {};

    // An absolute URI: a scheme and nothing a URI cannot hold (such as spaces).
    const QString scheme = schemeOf(trimmed);
    if (!scheme.isEmpty() && QUrl(trimmed, QUrl::StrictMode).isValid())
        return ActionPrivate::forTypes({QStringLiteral("x-scheme-handler/") + scheme}, {trimmed});

    const QString tel = telUriFor(trimmed);
    if (!tel.isEmpty())
        return ActionPrivate::forTypes({QStringLiteral("x-scheme-handler/tel")}, {tel});

    const QString mailto = mailtoUriFor(trimmed);
    if (!mailto.isEmpty())
        return ActionPrivate::forTypes({QStringLiteral("x-scheme-handler/mailto")}, {mailto});

    return {};
}

QList<Action> Action::actionsForScheme(const QString& uri)
{
    const QString scheme = schemeOf(uri);
    if (scheme.isEmpty())
        return {};
    return ActionPrivate::forTypes({QStringLiteral("x-scheme-handler/") + scheme}, {uri});
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
    return ActionPrivate::forTypes(contentTypesFor(url, mimeType), {url.toString(QUrl::FullyEncoded)});
}

Action Action::defaultActionForFile(const QUrl& file)
{
    return defaultActionForFile(file, QString());
}

Action Action::defaultActionForFile(const QUrl& file, const QString& mimeType)
{
    // The list starts with the default handler, or the first one when there is no default.
    const QList<Action> actions = actionsForFile(file, mimeType);
    return actions.isEmpty() ? Action() : actions.first();
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
