#include "dialogdata.h"

#include "dialog.h"

#include <QMetaProperty>
#include <QStringList>

namespace Host {
namespace DialogData {

namespace {
// The properties every dialog has through ConnUi::Dialog and QObject; only what a dialog class adds
// describes the dialog.
bool isBaseProperty(const char* name)
{
    return qstrcmp(name, "objectName") == 0 || qstrcmp(name, "result") == 0 || qstrcmp(name, "visible") == 0;
}

bool isMessageBox(const QObject* dialog)
{
    return className(dialog) == QLatin1String("MessageBox");
}
} // namespace

QString className(const QObject* dialog)
{
    if (!dialog)
        return QString();
    const QString name = QString::fromLatin1(dialog->metaObject()->className());
    return name.mid(name.lastIndexOf(QLatin1Char(':')) + 1);
}

QVariantMap properties(const QObject* dialog)
{
    QVariantMap map;
    if (!dialog)
        return map;
    map.insert(QStringLiteral("class"), className(dialog));
    const QMetaObject* meta = dialog->metaObject();
    for (int i = 0; i < meta->propertyCount(); ++i) {
        const QMetaProperty property = meta->property(i);
        if (isBaseProperty(property.name()))
            continue;
        map.insert(QString::fromLatin1(property.name()), property.read(dialog));
    }
    return map;
}

int confirmResult(const QObject* dialog)
{
    if (isMessageBox(dialog) && (dialog->property("buttons").toInt() & ConnUi::Dialog::Yes))
        return ConnUi::Dialog::Yes;
    return ConnUi::Dialog::Ok;
}

int declineResult(const QObject* dialog)
{
    if (isMessageBox(dialog) && (dialog->property("buttons").toInt() & ConnUi::Dialog::No))
        return ConnUi::Dialog::No;
    return ConnUi::Dialog::Cancel;
}

void answer(ConnUi::Dialog* dialog, int result, const QString& selectedApplication, bool directAction)
{
    if (!dialog)
        return;
    if (className(dialog) == QLatin1String("NfcTagReadPermissionDialog")) {
        if (!selectedApplication.isEmpty())
            dialog->setProperty("selectedApplication", selectedApplication);
        dialog->setProperty("directActionSelected", directAction);
    }
    dialog->done(result);
}

void confirm(ConnUi::Dialog* dialog)
{
    if (!dialog)
        return;
    QString application = dialog->property("selectedApplication").toString();
    if (application.isEmpty())
        application = dialog->property("choices").toStringList().value(0);
    answer(dialog, confirmResult(dialog), application, dialog->property("directActionSelected").toBool());
}

void decline(ConnUi::Dialog* dialog)
{
    if (dialog)
        answer(dialog, declineResult(dialog));
}

} // namespace DialogData
} // namespace Host
