#ifndef CONNUI_UILOCALE_H
#define CONNUI_UILOCALE_H

#include <QString>

namespace ConnUi {

// The user interface's current locale; a default-constructed object reads the current one. It follows
// Qt's default locale unless a language and country have been set explicitly, which are then taken as
// given (Qt would replace a pair it does not know, fi_GB say, by the language's usual country).
class UiLocale
{
public:
    UiLocale();

    static void setCurrent(const QString& language, const QString& country);
    // Back to following Qt's default locale.
    static void resetCurrent();

    QString language() const { return m_language; } // for example "fi"
    QString country() const { return m_country; }   // for example "FI"

private:
    QString m_language;
    QString m_country;
};

} // namespace ConnUi

#endif
