#ifndef FAKEDIALOGSERVER_H
#define FAKEDIALOGSERVER_H

#include <QList>
#include <QMap>
#include <QPointer>
#include <QVariant>

#include "connectivitydialogserverinterface.h"
#include "dialog.h"

// A dialog server for tests. It records showDialog, closeDialog and setProperty in the fake platform's
// call list ("Server::showDialog" with the dialog's class name, ...), keeps the shown dialogs and the
// properties, and deletes the dialogs it was given when it goes.
class FakeDialogServer : public ConnectivityDialogServerInterface
{
public:
    FakeDialogServer() = default;
    ~FakeDialogServer() override;

    void showDialog(ConnUi::Dialog* dialog) override;
    void closeDialog(ConnUi::Dialog* dialog) override;
    void setProperty(const QString& key, const QVariant& value) override;

    // When set, showDialog makes the dialog emit appeared() at once, as a server with a screen would.
    void setAutoAppear(bool autoAppear) { m_autoAppear = autoAppear; }

    // Dialogs shown and not closed, in the order shown.
    QList<ConnUi::Dialog*> openDialogs() const;
    // Every dialog ever shown, in order (null once deleted).
    QList<QPointer<ConnUi::Dialog>> shownDialogs() const { return m_shown; }
    QList<QPointer<ConnUi::Dialog>> closedDialogs() const { return m_closed; }
    ConnUi::Dialog* lastShown() const { return m_shown.isEmpty() ? nullptr : m_shown.last().data(); }
    template<class T> T* lastShownOf() const
    {
        for (int i = m_shown.size() - 1; i >= 0; --i) {
            if (T* t = qobject_cast<T*>(m_shown.at(i).data()))
                return t;
        }
        return nullptr;
    }
    // The one open dialog when it is of class T; null when none or several are open, or another kind.
    template<class T> T* onlyOpen() const
    {
        const QList<ConnUi::Dialog*> open = openDialogs();
        return open.size() == 1 ? qobject_cast<T*>(open.first()) : nullptr;
    }
    bool isOpen(ConnUi::Dialog* dialog) const;

    QMap<QString, QVariant> properties() const { return m_properties; }

private:
    bool m_autoAppear = false;
    QList<QPointer<ConnUi::Dialog>> m_shown;
    QList<QPointer<ConnUi::Dialog>> m_closed;
    QMap<QString, QVariant> m_properties;
};

#endif
