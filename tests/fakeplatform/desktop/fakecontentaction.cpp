// Fake content actions: the answers are lists of action names in the registry; trigger() is recorded.
#include "contentaction.h"
#include "fakeplatform.h"

#include <QSharedData>

namespace ContentAction {

class ActionPrivate : public QSharedData
{
public:
    QString name;
    bool valid = false;
    QStringList arguments;

    static Action make(const QString& name, const QStringList& arguments = QStringList())
    {
        ActionPrivate* d = new ActionPrivate;
        d->valid = name != FakePlatform::invalidAction();
        d->name = d->valid ? name : QString();
        d->arguments = arguments;
        return Action(d);
    }

    static QList<Action> list(const QString& key)
    {
        QList<Action> actions;
        const QStringList names = FakePlatform::get(key).toStringList();
        for (const QString& name : names)
            actions.append(make(name));
        return actions;
    }

    // The answer for a file: under its own url, else under "*".
    static QString fileKey(const QString& prefix, const QUrl& file, const QString& mimeType)
    {
        const QString suffix = mimeType.isNull() ? QString() : QLatin1Char('/') + mimeType;
        const QString exact = prefix + file.toString() + suffix;
        if (FakePlatform::get(exact).isValid())
            return exact;
        return prefix + QLatin1Char('*') + suffix;
    }
};

Action::Action(const Action& other) = default;
Action& Action::operator=(const Action& other) = default;
Action::~Action() = default;

// An invalid action.
Action::Action()
    : Action(new ActionPrivate)
{
}

Action::Action(ActionPrivate* d)
    : d(d)
{
}

bool Action::isValid() const
{
    return d->valid;
}

QString Action::name() const
{
    return d->name;
}

void Action::trigger() const
{
    FakePlatform::record(QStringLiteral("ContentAction::trigger"), {d->name, d->arguments});
}

QList<Action> Action::actionsForString(const QString& text)
{
    FakePlatform::record(QStringLiteral("ContentAction::actionsForString"), {text});
    return ActionPrivate::list(QStringLiteral("ContentAction/string/") + text);
}

QList<Action> Action::actionsForScheme(const QString& uri)
{
    FakePlatform::record(QStringLiteral("ContentAction::actionsForScheme"), {uri});
    return ActionPrivate::list(QStringLiteral("ContentAction/scheme/") + uri);
}

QList<Action> Action::actionsForFile(const QUrl& file)
{
    FakePlatform::record(QStringLiteral("ContentAction::actionsForFile"), {file.toString()});
    return ActionPrivate::list(ActionPrivate::fileKey(QStringLiteral("ContentAction/file/"), file, QString()));
}

QList<Action> Action::actionsForFile(const QUrl& file, const QString& mimeType)
{
    FakePlatform::record(QStringLiteral("ContentAction::actionsForFile"), {file.toString(), mimeType});
    return ActionPrivate::list(ActionPrivate::fileKey(QStringLiteral("ContentAction/file/"), file, mimeType));
}

Action Action::defaultActionForFile(const QUrl& file)
{
    FakePlatform::record(QStringLiteral("ContentAction::defaultActionForFile"), {file.toString()});
    const QList<Action> actions =
        ActionPrivate::list(ActionPrivate::fileKey(QStringLiteral("ContentAction/defaultFile/"), file, QString()));
    return actions.isEmpty() ? Action() : actions.first();
}

Action Action::defaultActionForFile(const QUrl& file, const QString& mimeType)
{
    FakePlatform::record(QStringLiteral("ContentAction::defaultActionForFile"), {file.toString(), mimeType});
    const QList<Action> actions =
        ActionPrivate::list(ActionPrivate::fileKey(QStringLiteral("ContentAction/defaultFile/"), file, mimeType));
    return actions.isEmpty() ? Action() : actions.first();
}

Action Action::launcherAction(const QString& desktopEntry, const QStringList& arguments)
{
    FakePlatform::record(QStringLiteral("ContentAction::launcherAction"), {desktopEntry, arguments});
    const QStringList names = FakePlatform::get(QStringLiteral("ContentAction/launcher/") + desktopEntry).toStringList();
    return names.isEmpty() ? Action() : ActionPrivate::make(names.first(), arguments);
}

} // namespace ContentAction
