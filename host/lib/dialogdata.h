#ifndef NFCUI_HOST_DIALOGDATA_H
#define NFCUI_HOST_DIALOGDATA_H

#include <QString>
#include <QVariantMap>

class QObject;

namespace ConnUi {
class Dialog;
}

namespace Host {

// What the host reads from and writes to a dialog. Dialogs come from a plugin library that carries its
// own copy of the dialog classes, so everything here goes through the meta-object (class names,
// properties) rather than C++ casts.
namespace DialogData {

// The class name without its namespace: "NfcTagReadPermissionDialog".
QString className(const QObject* dialog);

// "class" and every property the dialog class adds to ConnUi::Dialog.
QVariantMap properties(const QObject* dialog);

// The result code that confirms the dialog: Yes for a message box that offers Yes, Ok otherwise.
int confirmResult(const QObject* dialog);
// The result code that declines it: No for a message box that offers No, Cancel otherwise.
int declineResult(const QObject* dialog);

// Ends the dialog with a result. For the tag read permission dialog a non-empty application is set as
// the selected one first, and the direct action flag is set.
void answer(ConnUi::Dialog* dialog, int result, const QString& selectedApplication = QString(),
            bool directAction = false);

// Confirms the dialog with its defaults (the preselected application, or the first one offered).
void confirm(ConnUi::Dialog* dialog);
void decline(ConnUi::Dialog* dialog);

} // namespace DialogData
} // namespace Host

#endif
