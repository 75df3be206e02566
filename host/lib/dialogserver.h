#ifndef NFCUI_HOST_DIALOGSERVER_H
#define NFCUI_HOST_DIALOGSERVER_H

#include <QObject>
#include <QScopedPointer>
#include <QStringList>
#include <QVariantMap>

#include "connectivitydialogserverinterface.h"

namespace Host {

class DialogPresenter;
class DialogServerPrivate;

// The dialog server the plugins are initialized with: a registry of the dialogs they show, and the
// properties they store for each other.
//
// showDialog takes ownership and gives the dialog an id ("1", "2", ...). On the next turn of the event
// loop the dialog appears (Dialog::appear), the presenters are told and dialogShown is emitted. When the
// dialog finishes, dialogClosed carries its result. closeDialog takes a dialog down without a further
// finished(int) (with dialogClosed and the result 0 if it had not finished) and deletes it later.
class DialogServer : public QObject, public ConnectivityDialogServerInterface
{
    Q_OBJECT
public:
    explicit DialogServer(QObject* parent = nullptr);
    // Deletes the dialogs it still owns, without telling the presenters.
    ~DialogServer() override;

    void showDialog(ConnUi::Dialog* dialog) override;
    void closeDialog(ConnUi::Dialog* dialog) override;
    void setProperty(const QString& key, const QVariant& value) override;

    // Presenters are told about every dialog and indication; they are not owned.
    void addPresenter(DialogPresenter* presenter);
    void removePresenter(DialogPresenter* presenter);

    // Ids of the dialogs on screen (appeared, not finished, not closed), oldest first.
    QStringList openDialogIds() const;
    ConnUi::Dialog* dialog(const QString& id) const;
    QString idOf(const ConnUi::Dialog* dialog) const;
    QVariantMap dialogProperties(const QString& id) const;

    QVariantMap properties() const;
    QVariant property(const QString& key) const;

    // Answers an open dialog as a user would. Returns false with a reason for an unknown or closed id.
    bool answer(const QString& id, int result, const QString& selectedApplication, bool directAction,
                QString* error = nullptr);

    // Reports an indication to the presenters and through indicationShown (the UI toolkit's indications
    // arrive here by themselves).
    void indicate(const QString& kind, const QString& detail);

Q_SIGNALS:
    void dialogShown(const QString& id, const QVariantMap& properties);
    void dialogClosed(const QString& id, int result);
    void indicationShown(const QString& kind, const QString& detail);
    void propertyChanged(const QString& key, const QVariant& value);

private Q_SLOTS:
    void presentDialog(const QString& id);
    void dialogFinished(int result);

private:
    QScopedPointer<DialogServerPrivate> d;
};

} // namespace Host

#endif
