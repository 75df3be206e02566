#ifndef CONNUI_NFCSHARINGPERMISSIONDIALOG_H
#define CONNUI_NFCSHARINGPERMISSIONDIALOG_H

#include <QStringList>

#include "dialog.h"

namespace ConnUi {

// Asks whether the listed resources may be shared with the touched device.
class NfcSharingPermissionDialog : public Dialog
{
    Q_OBJECT
    Q_PROPERTY(QStringList resources READ resources)
public:
    explicit NfcSharingPermissionDialog(const QStringList& resources, QObject* parent = nullptr);

    QStringList resources() const { return m_resources; }

private:
    QStringList m_resources;
};

} // namespace ConnUi

#endif
