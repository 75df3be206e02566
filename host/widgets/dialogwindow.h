#ifndef NFCUI_HOST_DIALOGWINDOW_H
#define NFCUI_HOST_DIALOGWINDOW_H

#include <QMap>
#include <QPointer>
#include <QWidget>

#include "dialog.h"

class QAbstractButton;
class QButtonGroup;
class QCheckBox;
class QLabel;
class QVBoxLayout;

namespace Host {

// One phone-sized window for one dialog: a title, what the dialog is about, and its buttons. Every
// dialog class of the UI toolkit has its own content; the buttons end the dialog with the result a user
// gives (Ok, Cancel, Yes, No) and, for the tag read permission dialog, the chosen application and the
// direct action.
class DialogWindow : public QWidget
{
    Q_OBJECT
public:
    static const QSize phoneSize; // 360 x 640

    DialogWindow(const QString& id, ConnUi::Dialog* dialog, QWidget* parent = nullptr);

    QString id() const { return m_id; }
    ConnUi::Dialog* dialog() const { return m_dialog; }

    // The window's title text and the button that ends the dialog with a result code (for tests and
    // screenshots).
    QString titleText() const;
    QAbstractButton* button(int result) const;
    // The text of every label of the content, in order.
    QStringList contentTexts() const;
    // The application list of a choice dialog, and the direct action check box where it applies.
    QButtonGroup* applications() const { return m_applications; }
    QCheckBox* directAction() const { return m_directAction; }

    // A file name for a screenshot: "<id>-<class>[-<kind>].png".
    QString screenshotName() const;

protected:
    // Closing the window (its close button, the window manager) dismisses the dialog like its negative
    // answer: Cancel where it has one, else No, else its only answer (the error dialog's OK). A dialog
    // with positive answers only keeps its window open.
    void closeEvent(QCloseEvent* event) override;

private Q_SLOTS:
    void finish(int result);

private:
    QLabel* addLabel(const QString& text, bool emphasized = false);
    void addButton(const QString& text, int result);
    void buildTagRead();
    void buildPairing();
    void buildSharingPermission();
    void buildSharingSelection();
    void buildTagNotSupported();
    void buildMessageBox();

    QString m_id;
    QPointer<ConnUi::Dialog> m_dialog;
    QLabel* m_title = nullptr;
    QVBoxLayout* m_content = nullptr;
    QWidget* m_buttonRow = nullptr;
    QList<QLabel*> m_labels;
    QMap<int, QAbstractButton*> m_buttons;
    QButtonGroup* m_applications = nullptr;
    QCheckBox* m_directAction = nullptr;
};

} // namespace Host

#endif
