#include "dialogserver.h"
#include "dialogdata.h"
#include "dialogpresenter.h"
#include "hostlogging.h"

#include "dialog.h"
#include "uiindications.h"

#include <QMetaObject>
#include <QPointer>

namespace Host {

namespace {
struct Entry
{
    QString id;
    QPointer<ConnUi::Dialog> dialog;
    bool appeared = false;
    bool finished = false;
};
} // namespace

class DialogServerPrivate
{
public:
    QList<Entry> entries; // dialogs owned and not yet closed, in the order shown
    QList<DialogPresenter*> presenters;
    QVariantMap properties;
    quint64 nextId = 1;

    Entry* find(const QString& id)
    {
        for (Entry& entry : entries) {
            if (entry.id == id)
                return &entry;
        }
        return nullptr;
    }
    Entry* find(const QObject* dialog)
    {
        for (Entry& entry : entries) {
            if (dialog && entry.dialog == dialog)
                return &entry;
        }
        return nullptr;
    }
    void notifyClosed(const QString& id)
    {
        const QList<DialogPresenter*> current = presenters;
        for (DialogPresenter* presenter : current)
            presenter->dialogClosed(id);
    }
};

DialogServer::DialogServer(QObject* parent)
    : QObject(parent), d(new DialogServerPrivate)
{
    connect(ConnUi::UiIndications::instance(), &ConnUi::UiIndications::indication, this, &DialogServer::indicate);
}

DialogServer::~DialogServer()
{
    // Presenters may already be gone at this point: they are not told, they let go of their own.
    const QList<Entry> entries = d->entries;
    d->entries.clear();
    d->presenters.clear();
    for (const Entry& entry : entries)
        delete entry.dialog.data();
}

void DialogServer::showDialog(ConnUi::Dialog* dialog)
{
    if (!dialog) {
        qCWarning(lcHost) << "showDialog() without a dialog";
        return;
    }
    if (d->find(dialog)) {
        qCWarning(lcHost).noquote() << "showDialog() for dialog" << idOf(dialog) << "that is already shown";
        return;
    }
    Entry entry;
    entry.id = QString::number(d->nextId++);
    entry.dialog = dialog;
    d->entries.append(entry);
    dialog->setParent(this);
    connect(dialog, &ConnUi::Dialog::finished, this, &DialogServer::dialogFinished);
    qCInfo(lcHost).noquote() << "Dialog" << entry.id << DialogData::className(dialog);
    // The plugin connects to the dialog around this call; it appears once the caller has returned.
    QMetaObject::invokeMethod(this, "presentDialog", Qt::QueuedConnection, Q_ARG(QString, entry.id));
}

void DialogServer::presentDialog(const QString& id)
{
    Entry* entry = d->find(id);
    if (!entry || !entry->dialog || entry->finished)
        return;
    entry->appeared = true;
    QPointer<ConnUi::Dialog> dialog = entry->dialog;
    dialog->appear();
    if (!dialog || !d->find(id))
        return;
    Q_EMIT dialogShown(id, DialogData::properties(dialog));
    const QList<DialogPresenter*> current = d->presenters;
    for (DialogPresenter* presenter : current) {
        Entry* still = d->find(id);
        if (!still || still->finished || !dialog)
            break;
        presenter->dialogShown(id, dialog);
    }
}

void DialogServer::dialogFinished(int result)
{
    Entry* entry = d->find(sender());
    if (!entry || entry->finished)
        return;
    entry->finished = true;
    const QString id = entry->id;
    const bool appeared = entry->appeared;
    qCInfo(lcHost).noquote() << "Dialog" << id << "finished with" << result;
    if (appeared)
        d->notifyClosed(id);
    Q_EMIT dialogClosed(id, result);
}

void DialogServer::closeDialog(ConnUi::Dialog* dialog)
{
    if (!dialog)
        return;
    Entry* entry = d->find(dialog);
    if (!entry) {
        // A dialog the server never showed: it is handed over all the same.
        dialog->disconnect(this);
        dialog->disappear();
        dialog->setParent(this);
        dialog->deleteLater();
        return;
    }
    const Entry closed = *entry;
    for (int i = 0; i < d->entries.size(); ++i) {
        if (d->entries.at(i).id == closed.id) {
            d->entries.removeAt(i);
            break;
        }
    }
    disconnect(dialog, nullptr, this, nullptr);
    dialog->disappear();
    if (!closed.finished) {
        qCInfo(lcHost).noquote() << "Dialog" << closed.id << "closed";
        if (closed.appeared)
            d->notifyClosed(closed.id);
        Q_EMIT dialogClosed(closed.id, dialog->result());
    }
    dialog->deleteLater();
}

void DialogServer::setProperty(const QString& key, const QVariant& value)
{
    if (value.isValid())
        d->properties.insert(key, value);
    else
        d->properties.remove(key);
    qCInfo(lcHost).noquote() << "Property" << key << (value.isValid() ? value.toString() : QStringLiteral("removed"));
    Q_EMIT propertyChanged(key, value);
}

void DialogServer::addPresenter(DialogPresenter* presenter)
{
    if (presenter && !d->presenters.contains(presenter))
        d->presenters.append(presenter);
}

void DialogServer::removePresenter(DialogPresenter* presenter)
{
    d->presenters.removeAll(presenter);
}

QStringList DialogServer::openDialogIds() const
{
    QStringList ids;
    for (const Entry& entry : d->entries) {
        if (entry.dialog && entry.appeared && !entry.finished)
            ids.append(entry.id);
    }
    return ids;
}

ConnUi::Dialog* DialogServer::dialog(const QString& id) const
{
    Entry* entry = d->find(id);
    return entry ? entry->dialog.data() : nullptr;
}

QString DialogServer::idOf(const ConnUi::Dialog* dialog) const
{
    Entry* entry = d->find(dialog);
    return entry ? entry->id : QString();
}

QVariantMap DialogServer::dialogProperties(const QString& id) const
{
    return DialogData::properties(dialog(id));
}

QVariantMap DialogServer::properties() const
{
    return d->properties;
}

QVariant DialogServer::property(const QString& key) const
{
    return d->properties.value(key);
}

bool DialogServer::answer(const QString& id, int result, const QString& selectedApplication, bool directAction,
                          QString* error)
{
    Entry* entry = d->find(id);
    if (!entry || !entry->dialog || !entry->appeared || entry->finished) {
        if (error)
            *error = QStringLiteral("No open dialog %1").arg(id);
        return false;
    }
    qCInfo(lcHost).noquote() << "Answering dialog" << id << "with" << result;
    DialogData::answer(entry->dialog, result, selectedApplication, directAction);
    return true;
}

void DialogServer::indicate(const QString& kind, const QString& detail)
{
    qCInfo(lcHost).noquote() << "Indication" << kind << detail;
    const QList<DialogPresenter*> current = d->presenters;
    for (DialogPresenter* presenter : current)
        presenter->indication(kind, detail);
    Q_EMIT indicationShown(kind, detail);
}

} // namespace Host
