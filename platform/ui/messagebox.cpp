#include "messagebox.h"

namespace ConnUi {

MessageBox::MessageBox(const QString& title, const QString& text, int buttons, QObject* parent)
    : Dialog(parent), m_title(title), m_text(text), m_buttons(buttons)
{
}

} // namespace ConnUi
