#include "nfcagentsharingrequest.h"

#include "connectivitydialogserverinterface.h"
#include "connectivityuiutils.h"
#include "dialog.h"
#include "nfcadapter.h"
#include "nfcsharingpermissiondialog.h"
#include "nfcsharingselectiondialog.h"

#include <memory>

namespace ConnUi {

NfcAgentSharingRequest::NfcAgentSharingRequest(Type type, ConnectivityDialogServerInterface* server,
                                               const QString& carrier, const QVariant& info,
                                               const QStringList& resources)
    : type(type), server(server), info(info), resources(resources)
{
    Q_UNUSED(carrier)
}

NfcAgentSharingRequest::~NfcAgentSharingRequest() = default;

QVariant NfcAgentSharingRequest::sharingInfo() const
{
    return info;
}

void NfcAgentSharingRequest::start()
{
    // Without confirmation everything is shared as asked, whatever the type or the resources.
    std::unique_ptr<NfcAdapter> adapter(NfcAdapter::defaultAdapter());
    if (!adapter->isConfirmationEnabled()) {
        Q_EMIT accepted(); // the adapter goes after the signal
        return;
    }
    adapter.reset();

    if (type == SharingPermission && resources.size() < 1) {
        qWarning("NfcAgentDialogPlugin: Unable to handle resources size < 1, rejecting");
        Q_EMIT rejected();
        return;
    }

    ConnectivityUIUtils::unblankDisplay();

    Dialog* dialog = nullptr;
    switch (type) {
    case SharingPermission:
        dialog = new NfcSharingPermissionDialog(resources);
        break;
    case SharingSelection:
        dialog = new NfcSharingSelectionDialog(NfcSharingSelectionDialog::AnyContent);
        break;
    default:
        qWarning("NfcAgentSharingRequest: Unable to handle request type: %d", int(type));
        Q_EMIT rejected();
        return;
    }

    connect(dialog, SIGNAL(finished(int)), this, SLOT(dialogFinished()));
    connect(dialog, SIGNAL(appeared()), this, SIGNAL(dialogShown()));
    server->showDialog(dialog);
}

void NfcAgentSharingRequest::dialogFinished()
{
    Dialog* dialog = qobject_cast<Dialog*>(sender());
    if (!dialog) {
        qWarning("NfcAgentSharingRequest::dialogFinished() lacks dialog");
        return;
    }

    const int result = dialog->result();
    server->closeDialog(dialog);
    if (result == Dialog::Ok)
        Q_EMIT accepted();
    else
        Q_EMIT rejected();
}

} // namespace ConnUi
