#include "dialog.h"

namespace ConnUi {

Dialog::Dialog(QObject* parent)
    : QObject(parent)
{
}

Dialog::~Dialog() = default;

void Dialog::appear()
{
    m_visible = true;
    emit appeared();
}

void Dialog::disappear()
{
    m_visible = false;
}

void Dialog::done(int result)
{
    m_result = result;
    m_visible = false;
    emit finished(result);
    if (result == Ok || result == Yes)
        emit accepted();
    else
        emit rejected();
}

} // namespace ConnUi
