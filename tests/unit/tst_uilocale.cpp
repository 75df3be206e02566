// The UI locale the text selection reads.
#include <QtTest>

#include "uilocale.h"

using ConnUi::UiLocale;

class tst_UiLocale : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        UiLocale::resetCurrent();
        QLocale::setDefault(QLocale::c());
    }

    void followsQtsDefaultLocale()
    {
        QLocale::setDefault(QLocale(QStringLiteral("fi_FI")));
        QCOMPARE(UiLocale().language(), QStringLiteral("fi"));
        QCOMPARE(UiLocale().country(), QStringLiteral("FI"));
    }

    void cLocaleIsEnglishWithoutCountry()
    {
        QLocale::setDefault(QLocale::c());
        QCOMPARE(UiLocale().language(), QStringLiteral("en"));
        QCOMPARE(UiLocale().country(), QString());
    }

    void explicitLanguageAndCountryAreTakenAsGiven()
    {
        QLocale::setDefault(QLocale(QStringLiteral("de_DE")));
        UiLocale::setCurrent(QStringLiteral("fi"), QStringLiteral("GB"));
        QCOMPARE(UiLocale().language(), QStringLiteral("fi"));
        QCOMPARE(UiLocale().country(), QStringLiteral("GB"));
        UiLocale::setCurrent(QStringLiteral("sv"), QString());
        QCOMPARE(UiLocale().country(), QString());
        UiLocale::resetCurrent();
        QCOMPARE(UiLocale().language(), QStringLiteral("de"));
    }
};

QTEST_GUILESS_MAIN(tst_UiLocale)
#include "tst_uilocale.moc"
