#ifndef CONNUI_NFCTAGREADPERMISSIONDIALOG_H
#define CONNUI_NFCTAGREADPERMISSIONDIALOG_H

#include <QFileInfo>
#include <QStringList>

#include "dialog.h"

class URINDEFRecord;

namespace ConnUi {

// Asks whether the content read from a tag may be opened. Either it shows the content the system
// handles itself (a web address or number, a file of a MIME type, a text, an external type), or it
// lets the user choose the application from a list.
class NfcTagReadPermissionDialog : public Dialog
{
    Q_OBJECT
    Q_PROPERTY(QString kind READ kind)
    Q_PROPERTY(QString uri READ uri)
    Q_PROPERTY(QString text READ text)
    Q_PROPERTY(QString mimeType READ mimeType)
    Q_PROPERTY(QString file READ file)
    Q_PROPERTY(QString externalType READ externalType)
    Q_PROPERTY(QString externalContent READ externalContent)
    Q_PROPERTY(QStringList choices READ choices)
    Q_PROPERTY(QString preselected READ preselected)
    Q_PROPERTY(QString selectedApplication READ selectedApplication WRITE setSelectedApplication)
    Q_PROPERTY(bool directActionSelected READ isDirectActionSelected WRITE setDirectActionSelected)
public:
    // A URI (with a title, empty for a bare URI).
    NfcTagReadPermissionDialog(const URINDEFRecord* uriRecord, const QString& title, QObject* parent = nullptr);
    // A file of a MIME type.
    NfcTagReadPermissionDialog(const QString& mimeType, const QFileInfo& file, QObject* parent = nullptr);
    // A text.
    explicit NfcTagReadPermissionDialog(const QString& text, QObject* parent = nullptr);
    // An external type with its content.
    NfcTagReadPermissionDialog(const QString& externalType, const QString& externalContent,
                               QObject* parent = nullptr);
    // A choice of application, with the one to preselect.
    NfcTagReadPermissionDialog(const QStringList& choices, const QString& preselected, QObject* parent = nullptr);

    QString kind() const { return m_kind; }
    QString uri() const { return m_uri; }
    QString text() const { return m_text; }
    QString mimeType() const { return m_mimeType; }
    QString file() const { return m_file; }
    QString externalType() const { return m_externalType; }
    QString externalContent() const { return m_externalContent; }
    QStringList choices() const { return m_choices; }
    QString preselected() const { return m_preselected; }

    // The application the user chose; starts as the preselected one.
    QString selectedApplication() const { return m_selectedApplication; }
    void setSelectedApplication(const QString& application) { m_selectedApplication = application; }
    // Whether the user asked for the direct action (call now, send now) rather than an application.
    bool isDirectActionSelected() const { return m_directActionSelected; }
    void setDirectActionSelected(bool selected) { m_directActionSelected = selected; }

private:
    QString m_kind;
    QString m_uri;
    QString m_text;
    QString m_mimeType;
    QString m_file;
    QString m_externalType;
    QString m_externalContent;
    QStringList m_choices;
    QString m_preselected;
    QString m_selectedApplication;
    bool m_directActionSelected = false;
};

} // namespace ConnUi

#endif
