#ifndef CONNUI_DIALOG_H
#define CONNUI_DIALOG_H

#include <QObject>

namespace ConnUi {

// Base of every dialog the plugin hands to the dialog server. A dialog is a model: it carries what it
// shows as properties and ends with a result code; how it is drawn is the server's business.
class Dialog : public QObject
{
    Q_OBJECT
    Q_PROPERTY(int result READ result)
    Q_PROPERTY(bool visible READ isVisible)
public:
    // Result codes of the standard buttons.
    enum StandardButton {
        NoButton = 0x0,
        Ok = 0x400,
        Yes = 0x4000,
        No = 0x10000,
        Cancel = 0x400000
    };
    Q_ENUM(StandardButton)

    explicit Dialog(QObject* parent = nullptr);
    ~Dialog() override;

    int result() const { return m_result; }
    bool isVisible() const { return m_visible; }

public Q_SLOTS:
    // Called by the server once the dialog is on screen: emits appeared().
    void appear();
    // Called by the server when the dialog is taken down without an answer.
    void disappear();
    // Ends the dialog with a result code: finished(result), then accepted() for Ok and Yes,
    // rejected() for any other code.
    void done(int result);
    void accept() { done(Ok); }
    void reject() { done(Cancel); }

Q_SIGNALS:
    void appeared();
    void finished(int result);
    void accepted();
    void rejected();

private:
    int m_result = 0;
    bool m_visible = false;
};

} // namespace ConnUi

#endif
