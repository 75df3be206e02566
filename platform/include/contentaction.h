#ifndef CONTENTACTION_H
#define CONTENTACTION_H

#include <QList>
#include <QSharedDataPointer>
#include <QString>
#include <QStringList>
#include <QUrl>

namespace ContentAction {

class ActionPrivate;

// Something that can be done with a piece of content: an application that opens a file, a URI or a
// string. A default-constructed action is invalid and does nothing.
class Action
{
public:
    Action();
    Action(const Action& other);
    Action& operator=(const Action& other);
    ~Action();

    bool isValid() const;
    // The application's name: its desktop file id without ".desktop".
    QString name() const;
    // Starts the application on the content, detached from the caller.
    void trigger() const;

    // Handlers of the string's kind: an absolute URI's scheme, a phone number (tel), an e-mail
    // address (mailto); none for anything else.
    static QList<Action> actionsForString(const QString& text);
    // Handlers of the URI's scheme.
    static QList<Action> actionsForScheme(const QString& uri);
    // Handlers of the file's MIME type (detected from the file unless given), default first.
    static QList<Action> actionsForFile(const QUrl& file);
    static QList<Action> actionsForFile(const QUrl& file, const QString& mimeType);
    // The default handler of the file's MIME type, or the first one, or an invalid action.
    static Action defaultActionForFile(const QUrl& file);
    static Action defaultActionForFile(const QUrl& file, const QString& mimeType);
    // An action that starts the application of the desktop entry with the arguments; invalid when
    // there is no such entry.
    static Action launcherAction(const QString& desktopEntry, const QStringList& arguments);

private:
    explicit Action(ActionPrivate* d);
    QSharedDataPointer<ActionPrivate> d;
    friend class ActionPrivate;
};

} // namespace ContentAction

#endif
