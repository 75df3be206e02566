#ifndef CONNUI_MESSAGEBOX_H
#define CONNUI_MESSAGEBOX_H

#include "dialog.h"

namespace ConnUi {

// A question with a title, a text and a set of standard buttons (an OR of Dialog::StandardButton).
class MessageBox : public Dialog
{
    Q_OBJECT
    Q_PROPERTY(QString title READ title)
    Q_PROPERTY(QString text READ text)
    Q_PROPERTY(int buttons READ buttons)
public:
    MessageBox(const QString& title, const QString& text, int buttons = Ok, QObject* parent = nullptr);

    QString title() const { return m_title; }
    QString text() const { return m_text; }
    int buttons() const { return m_buttons; }

private:
    QString m_title;
    QString m_text;
    int m_buttons;
};

} // namespace ConnUi

#endif
