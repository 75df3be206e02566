#ifndef CONNUI_NFCSHARINGSELECTIONDIALOG_H
#define CONNUI_NFCSHARINGSELECTIONDIALOG_H

#include "dialog.h"

namespace ConnUi {

// Lets the user choose what to share with the touched device.
class NfcSharingSelectionDialog : public Dialog
{
    Q_OBJECT
    Q_PROPERTY(int selectionType READ selectionType)
public:
    enum SelectionType {
        AnyContent = 0,
        Files = 1,
        Contacts = 2
    };
    Q_ENUM(SelectionType)

    explicit NfcSharingSelectionDialog(SelectionType selectionType = AnyContent, QObject* parent = nullptr);

    int selectionType() const { return m_selectionType; }

private:
    SelectionType m_selectionType;
};

} // namespace ConnUi

#endif
