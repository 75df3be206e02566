// ContactExporter::resolveContactInfo over KContacts, against vCard files this suite writes.
#include "contactexporter.h"
#include "testenvironment.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

using ConnUi::ContactExporter;

class TestContactExporter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cardsWithANameANumberOrAnAddressResolve_data();
    void cardsWithANameANumberOrAnAddressResolve();
    void filesWithoutSuchACardDoNotResolve_data();
    void filesWithoutSuchACardDoNotResolve();
    void missingFileDoesNotResolve();
    void directoryDoesNotResolve();

private:
    QString write(const QString& name, const QByteArray& contents);

    QTemporaryDir m_root;
};

QString TestContactExporter::write(const QString& name, const QByteArray& contents)
{
    const QString path = m_root.filePath(QStringLiteral("cards/") + name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(contents) != contents.size())
        return QString();
    return path;
}

void TestContactExporter::initTestCase()
{
    QVERIFY(m_root.isValid());
    const QString error = TestEnvironment::isolate(m_root.path());
    QVERIFY2(error.isEmpty(), qPrintable(error));
    QVERIFY(QDir().mkpath(m_root.filePath(QStringLiteral("cards"))));
}

void TestContactExporter::cardsWithANameANumberOrAnAddressResolve_data()
{
    QTest::addColumn<QByteArray>("card");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("details");

    QTest::newRow("name, number and address") << QByteArray("BEGIN:VCARD\r\nVERSION:3.0\r\n"
                                                            "N:Lovelace;Ada;;;\r\nFN:Ada Lovelace\r\n"
                                                            "EMAIL;TYPE=INTERNET:ada@example.org\r\n"
                                                            "TEL;TYPE=CELL:+44 20 7946 0000\r\nEND:VCARD\r\n")
                                              << QStringLiteral("Ada Lovelace") << QStringLiteral("+44 20 7946 0000");
    QTest::newRow("formatted name only") << QByteArray("BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Ada Lovelace\r\nEND:VCARD\r\n")
                                         << QStringLiteral("Ada Lovelace") << QString();
    QTest::newRow("structured name only") << QByteArray("BEGIN:VCARD\r\nVERSION:3.0\r\nN:Lovelace;Ada;;;\r\nEND:VCARD\r\n")
                                          << QStringLiteral("Ada Lovelace") << QString();
    QTest::newRow("formatted name over structured name")
        << QByteArray("BEGIN:VCARD\r\nVERSION:3.0\r\nN:Lovelace;Augusta Ada;;;\r\nFN:Ada, Countess of Lovelace\r\n"
                      "END:VCARD\r\n")
        << QStringLiteral("Ada, Countess of Lovelace") << QString();
    QTest::newRow("phone number only") << QByteArray("BEGIN:VCARD\r\nVERSION:3.0\r\nTEL:+358401234567\r\nEND:VCARD\r\n")
                                       << QString() << QStringLiteral("+358401234567");
    QTest::newRow("e-mail address only")
        << QByteArray("BEGIN:VCARD\r\nVERSION:3.0\r\nEMAIL:someone@example.org\r\nEND:VCARD\r\n") << QString()
        << QStringLiteral("someone@example.org");
    QTest::newRow("address when there is no number")
        << QByteArray("BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Grace Hopper\r\nEMAIL:grace@example.org\r\n"
                      "EMAIL:hopper@example.net\r\nEND:VCARD\r\n")
        << QStringLiteral("Grace Hopper") << QStringLiteral("grace@example.org");
    QTest::newRow("first of several numbers")
        << QByteArray("BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Grace Hopper\r\nTEL;TYPE=HOME:0401111111\r\n"
                      "TEL;TYPE=WORK:0402222222\r\nEND:VCARD\r\n")
        << QStringLiteral("Grace Hopper") << QStringLiteral("0401111111");
    QTest::newRow("vCard 2.1") << QByteArray("BEGIN:VCARD\r\nVERSION:2.1\r\nN:Hopper;Grace\r\nFN:Grace Hopper\r\n"
                                             "TEL;CELL:+1 555 0100\r\nEND:VCARD\r\n")
                               << QStringLiteral("Grace Hopper") << QStringLiteral("+1 555 0100");
    QTest::newRow("vCard 4.0, number as a tel URI") << QByteArray("BEGIN:VCARD\r\nVERSION:4.0\r\nFN:Alan Turing\r\n"
                                             "TEL;VALUE=uri;TYPE=cell:tel:+44-161-555-0199\r\nEND:VCARD\r\n")
                               << QStringLiteral("Alan Turing") << QStringLiteral("+44-161-555-0199");
    QTest::newRow("first of two cards")
        << QByteArray("BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Ada Lovelace\r\nTEL:0401111111\r\nEND:VCARD\r\n"
                      "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Grace Hopper\r\nTEL:0402222222\r\nEND:VCARD\r\n")
        << QStringLiteral("Ada Lovelace") << QStringLiteral("0401111111");
    QTest::newRow("first card that has any of them")
        << QByteArray("BEGIN:VCARD\r\nVERSION:3.0\r\nNOTE:Nothing to call\r\nEND:VCARD\r\n"
                      "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Grace Hopper\r\nEND:VCARD\r\n")
        << QStringLiteral("Grace Hopper") << QString();
    QTest::newRow("unix line ends") << QByteArray("BEGIN:VCARD\nVERSION:3.0\nFN:Ada Lovelace\nEND:VCARD\n")
                                    << QStringLiteral("Ada Lovelace") << QString();
}

void TestContactExporter::cardsWithANameANumberOrAnAddressResolve()
{
    QFETCH(QByteArray, card);
    QFETCH(QString, name);
    QFETCH(QString, details);
    const QString path = write(QStringLiteral("card.vcf"), card);
    QVERIFY(!path.isEmpty());

    QString resolvedName = QStringLiteral("unchanged");
    QString resolvedDetails = QStringLiteral("unchanged");
    QVERIFY(ContactExporter::resolveContactInfo(QFileInfo(path), resolvedName, resolvedDetails));
    QCOMPARE(resolvedName, name);
    QCOMPARE(resolvedDetails, details);
}

void TestContactExporter::filesWithoutSuchACardDoNotResolve_data()
{
    QTest::addColumn<QByteArray>("contents");
    QTest::newRow("empty file") << QByteArray();
    QTest::newRow("blank file") << QByteArray(" \r\n\r\n");
    QTest::newRow("text") << QByteArray("Ada Lovelace, +44 20 7946 0000, ada@example.org\n");
    QTest::newRow("binary garbage") << QByteArray::fromHex("00ff10ee20dd30cc40bb50aa0089504e470d0a1a0a");
    QTest::newRow("calendar") << QByteArray("BEGIN:VCALENDAR\r\nVERSION:2.0\r\nBEGIN:VEVENT\r\nSUMMARY:Meeting\r\n"
                                            "END:VEVENT\r\nEND:VCALENDAR\r\n");
    QTest::newRow("card without name, number or address")
        << QByteArray("BEGIN:VCARD\r\nVERSION:3.0\r\nORG:Analytical Engines Ltd\r\nNOTE:Just a note\r\n"
                      "URL:https://example.org/\r\nEND:VCARD\r\n");
    QTest::newRow("card with empty name, number and address")
        << QByteArray("BEGIN:VCARD\r\nVERSION:3.0\r\nN:;;;;\r\nFN:\r\nTEL:\r\nEMAIL:\r\nEND:VCARD\r\n");
    QTest::newRow("empty card") << QByteArray("BEGIN:VCARD\r\nEND:VCARD\r\n");
}

void TestContactExporter::filesWithoutSuchACardDoNotResolve()
{
    QFETCH(QByteArray, contents);
    const QString path = write(QStringLiteral("other.vcf"), contents);
    QVERIFY(!path.isEmpty());
    QString name;
    QString details;
    QVERIFY(!ContactExporter::resolveContactInfo(QFileInfo(path), name, details));
}

void TestContactExporter::missingFileDoesNotResolve()
{
    QString name;
    QString details;
    QVERIFY(!ContactExporter::resolveContactInfo(QFileInfo(m_root.filePath(QStringLiteral("cards/missing.vcf"))),
                                                 name, details));
    QVERIFY(!ContactExporter::resolveContactInfo(QFileInfo(), name, details));
}

void TestContactExporter::directoryDoesNotResolve()
{
    QString name;
    QString details;
    QVERIFY(!ContactExporter::resolveContactInfo(QFileInfo(m_root.filePath(QStringLiteral("cards"))), name, details));
}

QTEST_GUILESS_MAIN(TestContactExporter)

#include "tst_contactexporter.moc"
