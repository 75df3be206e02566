#include "uilocale.h"

#include <QLocale>

namespace ConnUi {

namespace {
struct ExplicitLocale
{
    bool set = false;
    QString language;
    QString country;
};

ExplicitLocale& explicitLocale()
{
    static ExplicitLocale locale;
    return locale;
}
} // namespace

void UiLocale::setCurrent(const QString& language, const QString& country)
{
    explicitLocale() = ExplicitLocale{true, language, country};
}

void UiLocale::resetCurrent()
{
    explicitLocale() = ExplicitLocale();
}

// The UI follows Qt's default locale, which the host sets from the environment (LANG, LC_ALL).
UiLocale::UiLocale()
{
    if (explicitLocale().set) {
        m_language = explicitLocale().language;
        m_country = explicitLocale().country;
        return;
    }
    const QString name = QLocale().name(); // "fi_FI", or "C"
    const int underscore = name.indexOf(QLatin1Char('_'));
    if (underscore < 0) {
        m_language = name == QLatin1String("C") ? QStringLiteral("en") : name;
    } else {
        m_language = name.left(underscore);
        m_country = name.mid(underscore + 1);
    }
}

} // namespace ConnUi
