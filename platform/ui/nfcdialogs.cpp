#include "nfcpairingdialog.h"
#include "nfcsharingpermissiondialog.h"
#include "nfcsharingselectiondialog.h"
#include "nfctagnotsupporteddialog.h"
#include "nfctagreadpermissiondialog.h"
#include "urindefrecord.h"

namespace ConnUi {

NfcTagNotSupportedDialog::NfcTagNotSupportedDialog(ErrorType errorType, QObject* parent)
    : Dialog(parent), m_errorType(errorType)
{
}

NfcTagReadPermissionDialog::NfcTagReadPermissionDialog(const URINDEFRecord* uriRecord, const QString& title,
                                                       QObject* parent)
    : Dialog(parent), m_kind(QStringLiteral("uri")), m_text(title)
{
    if (uriRecord)
        m_uri = QString::fromUtf8(uriRecord->getURI());
}

NfcTagReadPermissionDialog::NfcTagReadPermissionDialog(const QString& mimeType, const QFileInfo& file,
                                                       QObject* parent)
    : Dialog(parent), m_kind(QStringLiteral("file")), m_mimeType(mimeType), m_file(file.absoluteFilePath())
{
}

NfcTagReadPermissionDialog::NfcTagReadPermissionDialog(const QString& text, QObject* parent)
    : Dialog(parent), m_kind(QStringLiteral("text")), m_text(text)
{
}

NfcTagReadPermissionDialog::NfcTagReadPermissionDialog(const QString& externalType,
                                                       const QString& externalContent, QObject* parent)
    : Dialog(parent), m_kind(QStringLiteral("external")), m_externalType(externalType),
      m_externalContent(externalContent)
{
}

NfcTagReadPermissionDialog::NfcTagReadPermissionDialog(const QStringList& choices, const QString& preselected,
                                                       QObject* parent)
    : Dialog(parent), m_kind(QStringLiteral("choice")), m_choices(choices), m_preselected(preselected),
      m_selectedApplication(preselected)
{
}

NfcSharingPermissionDialog::NfcSharingPermissionDialog(const QStringList& resources, QObject* parent)
    : Dialog(parent), m_resources(resources)
{
}

NfcSharingSelectionDialog::NfcSharingSelectionDialog(SelectionType selectionType, QObject* parent)
    : Dialog(parent), m_selectionType(selectionType)
{
}

NfcPairingDialog::NfcPairingDialog(unsigned int classOfDevice, QObject* parent)
    : Dialog(parent), m_classOfDevice(classOfDevice)
{
}

} // namespace ConnUi
