#ifndef CONNUI_UILOCALE_H
#define CONNUI_UILOCALE_H

#include <QString>

namespace ConnUi {

// The user interface's current locale; a default-constructed object reads the current one.
class UiLocale
{
public:
    UiLocale();
    QString language() const { return m_language; } // for example "fi"
    QString country() const { return m_country; }   // for example "FI"

private:
    QString m_language;
    QString m_country;
};

} // namespace ConnUi

#endif
