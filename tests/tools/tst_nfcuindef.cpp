// Runs the nfcui-ndef tool as a process and checks what it prints, the files it leaves and the
// database it writes. The suite runs under scripts/isolated: HOME, the XDG directories and the buses
// are private, and the applications the content actions find are the desktop entries installed here.
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include "ndefwriter.h"

namespace {

const char toolPath[] = NFCUI_NDEF_TOOL;
const int toolTimeout = 30000; // ms

// Exit statuses of the tool.
const int exitUnparsable = 2;
const int exitUsage = 64;

// The order of the members of a record line.
const QStringList recordKeys = {
    QStringLiteral("index"), QStringLiteral("tnf"), QStringLiteral("type"), QStringLiteral("payloadSize"),
    QStringLiteral("kind"), QStringLiteral("uri"), QStringLiteral("callUri"), QStringLiteral("smsUri"),
    QStringLiteral("mimeType"), QStringLiteral("externalType"), QStringLiteral("externalContent"),
    QStringLiteral("text"), QStringLiteral("language"), QStringLiteral("key"), QStringLiteral("supported"),
    QStringLiteral("predefined"), QStringLiteral("actions"), QStringLiteral("defaultApplication"),
    QStringLiteral("dataFile"),
};

const char validCard[] =
    "BEGIN:VCARD\r\n"
    "VERSION:3.0\r\n"
    "N:Virtanen;Maija;;;\r\n"
    "FN:Maija Virtanen\r\n"
    "TEL;TYPE=CELL:+358401234567\r\n"
    "END:VCARD\r\n";

struct Run
{
    int exitCode = -1;
    QProcess::ExitStatus exitStatus = QProcess::CrashExit;
    QByteArray out;
    QByteArray err;
};

QByteArray hexOf(const QList<NdefWriter::Record>& records)
{
    return NdefWriter::message(records).toHex();
}

QString str(const QByteArray& bytes)
{
    return QString::fromLatin1(bytes);
}

// The member names of a compact JSON object line, in the order written (names are the only strings
// followed by a colon outside of other strings).
QStringList memberOrder(const QByteArray& line)
{
    QStringList names;
    int depth = 0;
    int pos = 0;
    while (pos < line.size()) {
        const char c = line.at(pos);
        if (c == '{' || c == '[') {
            ++depth;
        } else if (c == '}' || c == ']') {
            --depth;
        } else if (c == '"') {
            const int start = pos + 1;
            ++pos;
            while (pos < line.size() && line.at(pos) != '"') {
                if (line.at(pos) == '\\')
                    ++pos;
                ++pos;
            }
            if (depth == 1 && pos + 1 < line.size() && line.at(pos + 1) == ':')
                names.append(QString::fromUtf8(line.mid(start, pos - start)));
        }
        ++pos;
    }
    return names;
}

QStringList toStringList(const QJsonValue& value)
{
    QStringList list;
    const QJsonArray array = value.toArray();
    for (const QJsonValue& entry : array)
        list.append(entry.toString());
    return list;
}

} // namespace

class TestNfcuiNdef : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void help_data();
    void help();
    void badCommandLine_data();
    void badCommandLine();

    void uriRecordFields();
    void recordLineKeyOrder();
    void httpsWithTwoHandlersIsNotPredefined();
    void callAndSmsUris_data();
    void callAndSmsUris();
    void uriWithoutColonGetsHttp();
    void relativeFileUriIsRewritten();
    void uriWithUpperCaseSchemeIsAcceptedUnchecked();
    void smartPosterWithTitle_data();
    void smartPosterWithTitle();
    void smartPosterWithInvalidUri();
    void localeIsTakenAsGiven_data();
    void localeIsTakenAsGiven();
    void textRecordsAreTheirOwn_data();
    void textRecordsAreTheirOwn();
    void utf16TextRecord();
    void mimeRecordDataFile();
    void mimeRecordDataFileGoneAfterExit();
    void vCardValid();
    void vCardInvalid();
    void externalRecord();
    void storeLinkExternalRecord();
    void externalRecordWithInvalidUtf8();
    void otherRecords();
    void emptyMessage_data();
    void emptyMessage();
    void unparsable_data();
    void unparsable();
    void hexSeparatorsAndInputSources();
    void prefixInKey();

    void rememberThenInspect();
    void rememberWithPrefix();
    void rememberStoresAnEmptyApplicationName();
    void rememberDatabaseFormat();
    void rememberReplacesAndKeeps();
    void rememberMimeRecordLeavesNoFile();

    void buildKnownBytes();
    void buildMatchesEncoder();
    void buildRoundTrip();
    void buildToFile();

private:
    Run run(const QStringList& arguments, const QByteArray& input = QByteArray()) const;
    // Runs inspect with the arguments and returns the record objects, checking the records line.
    QList<QJsonObject> inspect(const QStringList& arguments, const QByteArray& input = QByteArray()) const;
    QJsonObject inspectOne(const QByteArray& hex, const QStringList& extra = QStringList()) const;
    void installApplication(const QString& id, const QString& mimeTypes) const;

    QString m_home;           // HOME of the tool: fresh for every test function
    QScopedPointer<QTemporaryDir> m_homeDir;
    QScopedPointer<QTemporaryDir> m_scratch;
};

void TestNfcuiNdef::initTestCase()
{
    // Never run against the real home directory or desktop: scripts/isolated sets all of these.
    QVERIFY2(qEnvironmentVariableIsSet("NFCUI_PRIVATE_BUSES") && qEnvironmentVariableIsSet("XDG_DATA_HOME"),
             "run this suite through scripts/isolated");
    QVERIFY2(QFileInfo(QString::fromLatin1(toolPath)).isExecutable(), toolPath);

    // Handlers the content actions will find: a web browser, a second handler for https only, a
    // dialer and messaging application, a contact importer, a viewer of a media type of its own (the
    // system's applications may handle common types such as text/plain) and the store client.
    installApplication(QStringLiteral("nfcuitest-browser"),
                       QStringLiteral("x-scheme-handler/http;x-scheme-handler/https;"));
    installApplication(QStringLiteral("nfcuitest-secure"), QStringLiteral("x-scheme-handler/https;"));
    installApplication(QStringLiteral("nfcuitest-phone"),
                       QStringLiteral("x-scheme-handler/tel;x-scheme-handler/sms;"));
    installApplication(QStringLiteral("nfcuitest-contacts"), QStringLiteral("text/x-vcard;text/vcard;"));
    installApplication(QStringLiteral("nfcuitest-viewer"), QStringLiteral("application/x-nfcuitest-note;"));
    installApplication(QStringLiteral("quandelclient"), QString());

    const QString applications = qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/applications");
    QProcess update;
    update.start(QStringLiteral("update-desktop-database"), { applications });
    QVERIFY2(update.waitForFinished(toolTimeout), "update-desktop-database did not run");
    QCOMPARE(update.exitCode(), 0);
    QVERIFY(QFile::exists(applications + QStringLiteral("/mimeinfo.cache")));

    m_scratch.reset(new QTemporaryDir);
    QVERIFY(m_scratch->isValid());
}

void TestNfcuiNdef::init()
{
    // A fresh home per test, so that every database starts out missing.
    m_homeDir.reset(new QTemporaryDir(QDir::homePath() + QStringLiteral("/home-XXXXXX")));
    QVERIFY(m_homeDir->isValid());
    m_home = m_homeDir->path();
}

void TestNfcuiNdef::installApplication(const QString& id, const QString& mimeTypes) const
{
    const QString dir = qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/applications");
    QVERIFY(QDir().mkpath(dir));
    QFile file(dir + QLatin1Char('/') + id + QStringLiteral(".desktop"));
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QByteArray entry = "[Desktop Entry]\nType=Application\nName=" + id.toUtf8() + "\nExec=/bin/true %u\n";
    if (!mimeTypes.isEmpty())
        entry += "MimeType=" + mimeTypes.toUtf8() + "\n";
    QCOMPARE(file.write(entry), qint64(entry.size()));
}

Run TestNfcuiNdef::run(const QStringList& arguments, const QByteArray& input) const
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), m_home);
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    process.setProcessEnvironment(environment);
    process.start(QString::fromLatin1(toolPath), arguments);
    Run result;
    if (!process.waitForStarted(toolTimeout))
        return result;
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(toolTimeout)) {
        process.kill();
        process.waitForFinished();
        return result;
    }
    result.exitCode = process.exitCode();
    result.exitStatus = process.exitStatus();
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    return result;
}

QList<QJsonObject> TestNfcuiNdef::inspect(const QStringList& arguments, const QByteArray& input) const
{
    QList<QJsonObject> records;
    const Run result = run(QStringList{ QStringLiteral("inspect") } + arguments, input);
    [&] {
        QCOMPARE(result.exitStatus, QProcess::NormalExit);
        QVERIFY2(result.exitCode == 0, result.err.constData());
        QVERIFY(result.out.endsWith('\n'));
        const QList<QByteArray> lines = result.out.trimmed().split('\n');
        QJsonParseError error;
        const QJsonObject header = QJsonDocument::fromJson(lines.first(), &error).object();
        QVERIFY2(error.error == QJsonParseError::NoError, lines.first().constData());
        QCOMPARE(memberOrder(lines.first()), QStringList{ QStringLiteral("records") });
        QCOMPARE(header.value(QStringLiteral("records")).toInt(-1), lines.size() - 1);
        for (int i = 1; i < lines.size(); ++i) {
            const QJsonDocument document = QJsonDocument::fromJson(lines.at(i), &error);
            QVERIFY2(error.error == QJsonParseError::NoError && document.isObject(), lines.at(i).constData());
            // One line written as {"key": value, ...}, members in the documented order.
            QVERIFY(lines.at(i).startsWith("{\"index\": "));
            QCOMPARE(memberOrder(lines.at(i)), recordKeys);
            QCOMPARE(document.object().value(QStringLiteral("index")).toInt(-1), i - 1);
            records.append(document.object());
        }
    }();
    return records;
}

QJsonObject TestNfcuiNdef::inspectOne(const QByteArray& hex, const QStringList& extra) const
{
    const QList<QJsonObject> records =
        inspect(QStringList{ QStringLiteral("--hex"), str(hex) } + extra);
    return records.size() == 1 ? records.first() : QJsonObject();
}

// ---------------------------------------------------------------------------------------------------
// Command line

void TestNfcuiNdef::help_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("mentions");
    QTest::newRow("general") << QStringList{ "--help" } << "inspect";
    QTest::newRow("inspect") << QStringList{ "inspect", "--help" } << "--locale";
    QTest::newRow("remember") << QStringList{ "remember", "--help" } << "--record";
    QTest::newRow("build") << QStringList{ "build", "--help" } << "--smartposter";
}

void TestNfcuiNdef::help()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, mentions);
    const Run result = run(arguments);
    QCOMPARE(result.exitCode, 0);
    QVERIFY(result.out.startsWith("Usage: nfcui-ndef"));
    QVERIFY(str(result.out).contains(mentions));
}

void TestNfcuiNdef::badCommandLine_data()
{
    const QString uri = str(hexOf({ NdefWriter::uri(QStringLiteral("http://example.com")) }));
    const QString missing = QStringLiteral("/nonexistent/nfcui-ndef-test/message.bin");
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("no command") << QStringList();
    QTest::newRow("unknown command") << QStringList{ "frobnicate" };
    QTest::newRow("unknown option") << QStringList{ "inspect", "--frobnicate", "--hex", uri };
    QTest::newRow("bad hex digit") << QStringList{ "inspect", "--hex", "d1zz" };
    QTest::newRow("odd hex digits") << QStringList{ "inspect", "--hex", "d10" };
    QTest::newRow("separator inside a byte") << QStringList{ "inspect", "--hex", "d 1" };
    QTest::newRow("missing hex value") << QStringList{ "inspect", "--hex" };
    QTest::newRow("unreadable file") << QStringList{ "inspect", "--file", missing };
    QTest::newRow("directory as file") << QStringList{ "inspect", "--file", "/" };
    QTest::newRow("two inputs") << QStringList{ "inspect", "--hex", uri, "-" };
    QTest::newRow("stray argument") << QStringList{ "inspect", "--hex", uri, "extra" };
    QTest::newRow("bad locale") << QStringList{ "inspect", "--locale", "not a locale", "--hex", uri };
    QTest::newRow("hold from stdin") << QStringList{ "inspect", "--hold", "-" };
    QTest::newRow("remember without record") << QStringList{ "remember", "App", "--hex", uri };
    QTest::newRow("remember bad record") << QStringList{ "remember", "--record", "first", "App", "--hex", uri };
    QTest::newRow("remember negative record") << QStringList{ "remember", "--record", "-1", "App", "--hex", uri };
    QTest::newRow("remember record out of range")
        << QStringList{ "remember", "--record", "1", "App", "--hex", uri };
    QTest::newRow("remember in empty message") << QStringList{ "remember", "--record", "0", "App", "--hex", "" };
    QTest::newRow("remember without application") << QStringList{ "remember", "--record", "0", "--hex", uri };
    QTest::newRow("remember unknown option")
        << QStringList{ "remember", "--record", "0", "--bogus", "App", "--hex", uri };
    QTest::newRow("build without records") << QStringList{ "build" };
    QTest::newRow("build only out") << QStringList{ "build", "--out", missing };
    QTest::newRow("build missing text") << QStringList{ "build", "--text", "en" };
    QTest::newRow("build title first") << QStringList{ "build", "--title", "en", "Hello" };
    QTest::newRow("build title after uri")
        << QStringList{ "build", "--smartposter", "http://a.example", "--uri", "http://b.example",
                        "--title", "en", "x" };
    QTest::newRow("build bad tnf") << QStringList{ "build", "--raw", "8", "x", "" };
    QTest::newRow("build bad raw payload") << QStringList{ "build", "--raw", "1", "x", "0g" };
    QTest::newRow("build unreadable mime") << QStringList{ "build", "--mime", "text/plain", missing };
    QTest::newRow("build unknown option") << QStringList{ "build", "--uri", "http://a.example", "--bogus" };
    QTest::newRow("build positional") << QStringList{ "build", "http://a.example" };
    QTest::newRow("build long type") << QStringList{ "build", "--external", QString(256, QLatin1Char('x')), "c" };
}

void TestNfcuiNdef::badCommandLine()
{
    QFETCH(QStringList, arguments);
    const Run result = run(arguments);
    QCOMPARE(result.exitStatus, QProcess::NormalExit);
    QCOMPARE(result.exitCode, exitUsage);
    QVERIFY(result.out.isEmpty());
    QVERIFY(result.err.startsWith("nfcui-ndef"));
    QVERIFY(result.err.contains("--help"));
    // Nothing was remembered on the way.
    QVERIFY(!QFile::exists(m_home + QStringLiteral("/.nfc")));
}

// ---------------------------------------------------------------------------------------------------
// inspect

void TestNfcuiNdef::uriRecordFields()
{
    const NdefWriter::Record record = NdefWriter::uri(QStringLiteral("http://www.example.com/page"));
    const QJsonObject r = inspectOne(hexOf({ record }));
    QCOMPARE(r.value("tnf").toInt(), 1);
    QCOMPARE(r.value("type").toString(), QStringLiteral("U"));
    QCOMPARE(r.value("payloadSize").toInt(), record.payload.size());
    QCOMPARE(r.value("kind").toString(), QStringLiteral("uri"));
    QCOMPARE(r.value("uri").toString(), QStringLiteral("http://www.example.com/page"));
    QCOMPARE(r.value("callUri").toBool(true), false);
    QCOMPARE(r.value("smsUri").toBool(true), false);
    QVERIFY(r.value("mimeType").isNull());
    QVERIFY(r.value("externalType").isNull());
    QVERIFY(r.value("externalContent").isNull());
    QVERIFY(r.value("text").isNull());
    QVERIFY(r.value("language").isNull());
    QCOMPARE(r.value("key").toString(), QStringLiteral("http"));
    // The only handler of http is the browser installed above: supported, and with a single handler
    // the system opens it directly.
    QCOMPARE(toStringList(r.value("actions")), QStringList{ "nfcuitest-browser" });
    QCOMPARE(r.value("supported").toBool(), true);
    QCOMPARE(r.value("predefined").toBool(), true);
    QVERIFY(r.value("defaultApplication").isNull());
    QVERIFY(r.value("dataFile").isNull());
}

void TestNfcuiNdef::recordLineKeyOrder()
{
    const Run result = run({ "inspect", "--hex", str(hexOf({ NdefWriter::uri(QStringLiteral("sms:+123")) })) });
    QCOMPARE(result.exitCode, 0);
    const QList<QByteArray> lines = result.out.split('\n');
    QCOMPARE(lines.size(), 3); // two lines and the final newline
    QCOMPARE(lines.at(0), QByteArray("{\"records\": 1}"));
    QCOMPARE(memberOrder(lines.at(1)), recordKeys);
    QVERIFY(lines.at(2).isEmpty());
    // Null strings are JSON null, booleans are JSON booleans, actions a JSON array.
    QVERIFY(lines.at(1).contains("\"mimeType\": null, "));
    QVERIFY(lines.at(1).contains("\"smsUri\": true, "));
    QVERIFY(lines.at(1).contains("\"actions\": [\"nfcuitest-phone\"], "));
}

void TestNfcuiNdef::httpsWithTwoHandlersIsNotPredefined()
{
    const QJsonObject r = inspectOne(hexOf({ NdefWriter::uri(QStringLiteral("https://example.com/")) }));
    QCOMPARE(r.value("kind").toString(), QStringLiteral("uri"));
    QCOMPARE(r.value("key").toString(), QStringLiteral("https"));
    QStringList actions = toStringList(r.value("actions"));
    actions.sort();
    QCOMPARE(actions, (QStringList{ "nfcuitest-browser", "nfcuitest-secure" }));
    QCOMPARE(r.value("supported").toBool(), true);
    // With two handlers the user is offered the choice.
    QCOMPARE(r.value("predefined").toBool(true), false);
}

void TestNfcuiNdef::callAndSmsUris_data()
{
    QTest::addColumn<QString>("uri");
    QTest::addColumn<QString>("key");
    QTest::addColumn<bool>("callUri");
    QTest::addColumn<bool>("smsUri");
    QTest::newRow("tel") << "tel:+358401234567" << "tel" << true << false;
    QTest::newRow("sms") << "sms:+358401234567?body=hi" << "sms" << false << true;
}

void TestNfcuiNdef::callAndSmsUris()
{
    QFETCH(QString, uri);
    QFETCH(QString, key);
    QFETCH(bool, callUri);
    QFETCH(bool, smsUri);
    const QJsonObject r = inspectOne(hexOf({ NdefWriter::uri(uri) }));
    QCOMPARE(r.value("kind").toString(), QStringLiteral("uri"));
    QCOMPARE(r.value("uri").toString(), uri);
    QCOMPARE(r.value("callUri").toBool(), callUri);
    QCOMPARE(r.value("smsUri").toBool(), smsUri);
    QCOMPARE(r.value("key").toString(), key);
    QCOMPARE(toStringList(r.value("actions")), QStringList{ "nfcuitest-phone" });
    QCOMPARE(r.value("supported").toBool(), true);
    QCOMPARE(r.value("predefined").toBool(), true);
}

void TestNfcuiNdef::uriWithoutColonGetsHttp()
{
    const QJsonObject r = inspectOne(hexOf({ NdefWriter::uri(QStringLiteral("example.com/page")) }));
    QCOMPARE(r.value("kind").toString(), QStringLiteral("uri"));
    QCOMPARE(r.value("uri").toString(), QStringLiteral("http://example.com/page"));
    QCOMPARE(r.value("key").toString(), QStringLiteral("http"));
    QCOMPARE(toStringList(r.value("actions")), QStringList{ "nfcuitest-browser" });
}

void TestNfcuiNdef::relativeFileUriIsRewritten()
{
    const QList<QJsonObject> records = inspect(
        { "--hex", str(hexOf({ NdefWriter::uri(QStringLiteral("file://photo.jpg")),
                               NdefWriter::uri(QStringLiteral("file:///tmp/photo.jpg")) })) });
    QCOMPARE(records.size(), 2);
    QCOMPARE(records.at(0).value("uri").toString(), QStringLiteral("file:///home/user/MyDocs/photo.jpg"));
    QCOMPARE(records.at(0).value("key").toString(), QStringLiteral("file"));
    QCOMPARE(records.at(1).value("uri").toString(), QStringLiteral("file:///tmp/photo.jpg"));
    QCOMPARE(records.at(1).value("key").toString(), QStringLiteral("file"));
    for (const QJsonObject& r : records) {
        QCOMPARE(r.value("kind").toString(), QStringLiteral("uri"));
        QCOMPARE(r.value("predefined").toBool(true), false);
        QCOMPARE(r.value("supported").toBool(), !r.value("actions").toArray().isEmpty());
    }
}

void TestNfcuiNdef::uriWithUpperCaseSchemeIsAcceptedUnchecked()
{
    // TEL: is not one of the checked beginnings (they are case-sensitive): accepted without data after
    // the scheme, and not a call URI.
    const QJsonObject r = inspectOne(hexOf({ NdefWriter::uri(QStringLiteral("TEL:")) }));
    QCOMPARE(r.value("kind").toString(), QStringLiteral("uri"));
    QCOMPARE(r.value("uri").toString(), QStringLiteral("TEL:"));
    QCOMPARE(r.value("key").toString(), QStringLiteral("TEL"));
    QCOMPARE(r.value("callUri").toBool(true), false);
    QCOMPARE(r.value("predefined").toBool(true), false);
}

void TestNfcuiNdef::smartPosterWithTitle_data()
{
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("language");
    QTest::newRow("fi_FI") << "fi_FI" << QStringLiteral("Hyvää päivää") << "fi-FI";
    QTest::newRow("en_GB") << "en_GB" << "Good day" << "en-GB";
    QTest::newRow("sv_SE falls back to English") << "sv_SE" << "Good day" << "en-GB";
}

void TestNfcuiNdef::smartPosterWithTitle()
{
    QFETCH(QString, locale);
    QFETCH(QString, text);
    QFETCH(QString, language);
    const NdefWriter::Record poster = NdefWriter::smartPoster(
        QStringLiteral("http://example.com/poster"),
        { qMakePair(QByteArray("en-GB"), QStringLiteral("Good day")),
          qMakePair(QByteArray("fi-FI"), QStringLiteral("Hyvää päivää")) });
    const QJsonObject r = inspectOne(hexOf({ poster }), { "--locale", locale });
    QCOMPARE(r.value("tnf").toInt(), 1);
    QCOMPARE(r.value("type").toString(), QStringLiteral("Sp"));
    QCOMPARE(r.value("payloadSize").toInt(), poster.payload.size());
    QCOMPARE(r.value("kind").toString(), QStringLiteral("uri"));
    QCOMPARE(r.value("uri").toString(), QStringLiteral("http://example.com/poster"));
    QCOMPARE(r.value("text").toString(), text);
    QCOMPARE(r.value("language").toString(), language);
    QCOMPARE(r.value("key").toString(), QStringLiteral("http"));
    QCOMPARE(toStringList(r.value("actions")), QStringList{ "nfcuitest-browser" });
    QCOMPARE(r.value("supported").toBool(), true);
}

// The UI language and country are the ones given, even for a pair Qt would replace (fi_GB) and without
// a country (then every language match is a full one, so the first wins).
void TestNfcuiNdef::localeIsTakenAsGiven_data()
{
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QByteArray>("firstLanguage");
    QTest::addColumn<QByteArray>("secondLanguage");
    QTest::addColumn<QString>("language");
    QTest::newRow("fi_GB") << "fi_GB" << QByteArray("fi-FI") << QByteArray("fi-GB") << "fi-GB";
    QTest::newRow("fi without country") << "fi" << QByteArray("fi-SE") << QByteArray("fi-FI") << "fi-SE";
    QTest::newRow("de_FI") << "de_FI" << QByteArray("de-DE") << QByteArray("de-FI") << "de-FI";
}

void TestNfcuiNdef::localeIsTakenAsGiven()
{
    QFETCH(QString, locale);
    QFETCH(QByteArray, firstLanguage);
    QFETCH(QByteArray, secondLanguage);
    QFETCH(QString, language);
    const NdefWriter::Record poster = NdefWriter::smartPoster(
        QStringLiteral("http://example.com/poster"),
        { qMakePair(firstLanguage, QString::fromLatin1(firstLanguage)),
          qMakePair(secondLanguage, QString::fromLatin1(secondLanguage)) });
    const QJsonObject r = inspectOne(hexOf({ poster }), { "--locale", locale });
    QCOMPARE(r.value("language").toString(), language);
    QCOMPARE(r.value("text").toString(), language);
}

void TestNfcuiNdef::smartPosterWithInvalidUri()
{
    const NdefWriter::Record poster =
        NdefWriter::smartPoster(QStringLiteral("tel:"), { qMakePair(QByteArray("en"), QStringLiteral("Call us")) });
    const QJsonObject r = inspectOne(hexOf({ poster }), { "--locale", "en_GB" });
    QCOMPARE(r.value("kind").toString(), QStringLiteral("other"));
    QVERIFY(r.value("uri").isNull());
    QCOMPARE(r.value("callUri").toBool(true), false);
    QCOMPARE(r.value("text").toString(), QStringLiteral("Call us"));
    QCOMPARE(r.value("language").toString(), QStringLiteral("en"));
    QCOMPARE(r.value("key").toString(), QStringLiteral("Sp"));
    QCOMPARE(r.value("supported").toBool(true), false);
    QCOMPARE(r.value("predefined").toBool(true), false);
    QVERIFY(r.value("actions").toArray().isEmpty());
}

void TestNfcuiNdef::textRecordsAreTheirOwn_data()
{
    QTest::addColumn<QString>("locale");
    QTest::newRow("fi_FI") << "fi_FI";
    QTest::newRow("en_GB") << "en_GB";
}

void TestNfcuiNdef::textRecordsAreTheirOwn()
{
    // The handler of a Text record reads that record, whatever the UI language; choosing among the
    // Text records of a message is the tag read request's business.
    QFETCH(QString, locale);
    const QList<QJsonObject> records = inspect(
        { "--locale", locale, "--hex",
          str(hexOf({ NdefWriter::text("en-GB", QStringLiteral("Good morning")),
                      NdefWriter::text("fi-FI", QStringLiteral("Hyvää huomenta")) })) });
    QCOMPARE(records.size(), 2);
    QCOMPARE(records.at(0).value("text").toString(), QStringLiteral("Good morning"));
    QCOMPARE(records.at(0).value("language").toString(), QStringLiteral("en-GB"));
    QCOMPARE(records.at(1).value("text").toString(), QStringLiteral("Hyvää huomenta"));
    QCOMPARE(records.at(1).value("language").toString(), QStringLiteral("fi-FI"));
    for (const QJsonObject& r : records) {
        QCOMPARE(r.value("type").toString(), QStringLiteral("T"));
        QCOMPARE(r.value("kind").toString(), QStringLiteral("text"));
        QVERIFY(r.value("uri").isNull());
        QCOMPARE(r.value("key").toString(), QStringLiteral("T"));
        QCOMPARE(r.value("supported").toBool(), true);
        QCOMPARE(r.value("predefined").toBool(), true);
        QVERIFY(r.value("actions").toArray().isEmpty());
    }
}

void TestNfcuiNdef::utf16TextRecord()
{
    const QString text = QStringLiteral("Grüße, 世界");
    const QJsonObject r = inspectOne(hexOf({ NdefWriter::text("de-DE", text, true) }), { "--locale", "de_DE" });
    QCOMPARE(r.value("kind").toString(), QStringLiteral("text"));
    QCOMPARE(r.value("text").toString(), text);
    QCOMPARE(r.value("language").toString(), QStringLiteral("de-DE"));
}

void TestNfcuiNdef::mimeRecordDataFile()
{
    const QByteArray payload = "Plain text on a tag\n";
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), m_home);
    process.setProcessEnvironment(environment);
    process.start(QString::fromLatin1(toolPath),
                  { "inspect", "--hold", "--hex",
                    str(hexOf({ NdefWriter::mime("application/x-nfcuitest-note", payload) })) });
    QVERIFY(process.waitForStarted(toolTimeout));

    // --hold keeps the tool, and so the data file, until its standard input closes.
    QByteArray out;
    while (out.count('\n') < 2 && process.waitForReadyRead(toolTimeout))
        out += process.readAllStandardOutput();
    const QList<QByteArray> lines = out.trimmed().split('\n');
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines.at(0), QByteArray("{\"records\": 1}"));
    const QJsonObject r = QJsonDocument::fromJson(lines.at(1)).object();
    QCOMPARE(r.value("tnf").toInt(), 2);
    QCOMPARE(r.value("kind").toString(), QStringLiteral("mime"));
    QCOMPARE(r.value("mimeType").toString(), QStringLiteral("application/x-nfcuitest-note"));
    QCOMPARE(r.value("key").toString(), QStringLiteral("application/x-nfcuitest-note"));
    QCOMPARE(toStringList(r.value("actions")), QStringList{ "nfcuitest-viewer" });
    QCOMPARE(r.value("supported").toBool(), true);
    QCOMPARE(r.value("predefined").toBool(true), false);

    const QString dataFile = r.value("dataFile").toString();
    QVERIFY2(dataFile.startsWith(QStringLiteral("/tmp/nfc-mime-tag-content-")), qPrintable(dataFile));
    QFile file(dataFile);
    QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(dataFile));
    QCOMPARE(file.readAll(), payload);
    file.close();

    process.closeWriteChannel();
    QVERIFY(process.waitForFinished(toolTimeout));
    QCOMPARE(process.exitCode(), 0);
    QVERIFY2(!QFile::exists(dataFile), qPrintable(dataFile));
}

void TestNfcuiNdef::mimeRecordDataFileGoneAfterExit()
{
    const QList<QJsonObject> records = inspect(
        { "--hex", str(hexOf({ NdefWriter::mime("text/plain", "one"), NdefWriter::mime("image/png", "two") })) });
    QCOMPARE(records.size(), 2);
    for (const QJsonObject& r : records) {
        QCOMPARE(r.value("kind").toString(), QStringLiteral("mime"));
        const QString dataFile = r.value("dataFile").toString();
        QVERIFY(dataFile.startsWith(QStringLiteral("/tmp/nfc-mime-tag-content-")));
        QVERIFY2(!QFile::exists(dataFile), qPrintable(dataFile));
    }
    QCOMPARE(records.at(1).value("mimeType").toString(), QStringLiteral("image/png"));
}

void TestNfcuiNdef::vCardValid()
{
    const Run result = run({ "inspect", "--hex", str(hexOf({ NdefWriter::mime("text/x-vCard", validCard) })) });
    QCOMPARE(result.exitCode, 0);
    const QJsonObject r = QJsonDocument::fromJson(result.out.split('\n').value(1)).object();
    QCOMPARE(r.value("kind").toString(), QStringLiteral("mime"));
    QCOMPARE(r.value("mimeType").toString(), QStringLiteral("text/x-vCard"));
    QCOMPARE(r.value("key").toString(), QStringLiteral("text/x-vCard"));
    QVERIFY(r.value("dataFile").isString());
    QVERIFY(!QFile::exists(r.value("dataFile").toString()));
    // A contact card is offered only its default handler, and the system imports it itself.
    QCOMPARE(toStringList(r.value("actions")), QStringList{ "nfcuitest-contacts" });
    QCOMPARE(r.value("supported").toBool(), true);
    QCOMPARE(r.value("predefined").toBool(), true);
}

void TestNfcuiNdef::vCardInvalid()
{
    const Run result = run(
        { "inspect", "--hex", str(hexOf({ NdefWriter::mime("text/x-vcard", "this is no contact card") })) });
    QCOMPARE(result.exitCode, 0);
    QVERIFY(result.err.contains("Tag contains corrupted contact information"));
    const QJsonObject r = QJsonDocument::fromJson(result.out.split('\n').value(1)).object();
    QCOMPARE(r.value("kind").toString(), QStringLiteral("mime"));
    QVERIFY(r.value("mimeType").isNull());
    QVERIFY(r.value("dataFile").isNull());
    // No MIME type: the key falls back to the raw type name, and nothing handles the record.
    QCOMPARE(r.value("key").toString(), QStringLiteral("text/x-vcard"));
    QVERIFY(r.value("actions").toArray().isEmpty());
    QCOMPARE(r.value("supported").toBool(true), false);
    QCOMPARE(r.value("predefined").toBool(true), false);
}

void TestNfcuiNdef::externalRecord()
{
    const QJsonObject r =
        inspectOne(hexOf({ NdefWriter::external("example.com:greeting", QStringLiteral("päivää").toUtf8()) }));
    QCOMPARE(r.value("tnf").toInt(), 4);
    QCOMPARE(r.value("type").toString(), QStringLiteral("example.com:greeting"));
    QCOMPARE(r.value("kind").toString(), QStringLiteral("external"));
    QVERIFY(r.value("uri").isNull());
    QVERIFY(r.value("mimeType").isNull());
    QCOMPARE(r.value("externalType").toString(), QStringLiteral("example.com:greeting"));
    QCOMPARE(r.value("externalContent").toString(), QStringLiteral("päivää"));
    QCOMPARE(r.value("key").toString(), QStringLiteral("example.com:greeting"));
    // Plain words are nothing an application registers for.
    QVERIFY(r.value("actions").toArray().isEmpty());
    QCOMPARE(r.value("supported").toBool(true), false);
}

void TestNfcuiNdef::storeLinkExternalRecord()
{
    const QJsonObject r = inspectOne(hexOf({ NdefWriter::external("Quandel:Link", "app/12345") }));
    QCOMPARE(r.value("kind").toString(), QStringLiteral("external"));
    QCOMPARE(r.value("externalContent").toString(), QStringLiteral("app/12345"));
    QCOMPARE(r.value("key").toString(), QStringLiteral("Quandel:Link"));
    QCOMPARE(toStringList(r.value("actions")), QStringList{ "quandelclient" });
    QCOMPARE(r.value("supported").toBool(), true);
    QCOMPARE(r.value("predefined").toBool(), true);
}

void TestNfcuiNdef::externalRecordWithInvalidUtf8()
{
    const Run result = run(
        { "inspect", "--hex", str(hexOf({ NdefWriter::external("example.com:bin", QByteArray("\xc3\x28", 2)),
                                          NdefWriter::external("example.com:nul", QByteArray("a\0b", 3)) })) });
    QCOMPARE(result.exitCode, 0);
    QVERIFY(result.err.contains("NdefRecordHandler: External NDEF record contained invalid UTF-8"));
    const QList<QByteArray> lines = result.out.trimmed().split('\n');
    QCOMPARE(lines.size(), 3);
    const QStringList types = { "example.com:bin", "example.com:nul" };
    for (int i = 0; i < 2; ++i) {
        const QJsonObject r = QJsonDocument::fromJson(lines.at(i + 1)).object();
        QCOMPARE(r.value("kind").toString(), QStringLiteral("external"));
        QCOMPARE(r.value("externalType").toString(), types.at(i));
        QVERIFY(r.value("externalContent").isNull());
        QCOMPARE(r.value("key").toString(), types.at(i));
    }
}

void TestNfcuiNdef::otherRecords()
{
    const QList<QJsonObject> records = inspect(
        { "--hex", str(hexOf({ NdefWriter::raw(0, QByteArray(), QByteArray()),
                               NdefWriter::raw(3, "http://example.com/type", "x"),
                               NdefWriter::raw(1, "Hs", "\x12"),
                               NdefWriter::uri(QStringLiteral("http:#top")) })) });
    QCOMPARE(records.size(), 4);
    const QList<int> tnfs = { 0, 3, 1, 1 };
    const QStringList types = { "", "http://example.com/type", "Hs", "U" };
    for (int i = 0; i < records.size(); ++i) {
        const QJsonObject& r = records.at(i);
        QCOMPARE(r.value("tnf").toInt(), tnfs.at(i));
        QCOMPARE(r.value("type").toString(), types.at(i));
        QCOMPARE(r.value("kind").toString(), QStringLiteral("other"));
        QVERIFY(r.value("uri").isNull());
        QCOMPARE(r.value("key").toString(), types.at(i));
        QCOMPARE(r.value("supported").toBool(true), false);
        QVERIFY(r.value("dataFile").isNull());
    }
    // An empty type is an empty string, not null.
    QVERIFY(records.at(0).value("type").isString());
    QCOMPARE(records.at(0).value("payloadSize").toInt(-1), 0);
}

void TestNfcuiNdef::emptyMessage_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("empty hex") << QStringList{ "inspect", "--hex", "" };
    QTest::newRow("only separators") << QStringList{ "inspect", "--hex", " : \n" };
    QTest::newRow("empty stdin") << QStringList{ "inspect" };
    QTest::newRow("empty stdin, dash") << QStringList{ "inspect", "-" };
}

void TestNfcuiNdef::emptyMessage()
{
    QFETCH(QStringList, arguments);
    const Run result = run(arguments);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.out, QByteArray("{\"records\": 0}\n"));
}

void TestNfcuiNdef::unparsable_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::newRow("cut short")
        << NdefWriter::message({ NdefWriter::uri(QStringLiteral("http://example.com")) }).left(5);
    QTest::newRow("no message end") << QByteArray::fromHex("9101015500");
    QTest::newRow("one byte") << QByteArray::fromHex("d1");
}

void TestNfcuiNdef::unparsable()
{
    QFETCH(QByteArray, data);
    const Run fromHex = run({ "inspect", "--hex", str(data.toHex()) });
    QCOMPARE(fromHex.exitCode, exitUnparsable);
    const QList<QByteArray> lines = fromHex.out.trimmed().split('\n');
    QCOMPARE(lines.size(), 1);
    const QJsonDocument document = QJsonDocument::fromJson(lines.first());
    QCOMPARE(document.object(), (QJsonObject{ { "error", "unparsable" } }));
    QCOMPARE(lines.first(), QByteArray("{\"error\": \"unparsable\"}"));

    const Run fromStdin = run({ "inspect" }, data);
    QCOMPARE(fromStdin.exitCode, exitUnparsable);
    QCOMPARE(fromStdin.out, fromHex.out);

    const Run remember = run({ "remember", "--record", "0", "App", "-" }, data);
    QCOMPARE(remember.exitCode, exitUnparsable);
    QCOMPARE(remember.out, fromHex.out);
    QVERIFY(!QFile::exists(m_home + QStringLiteral("/.nfc/defaulttaghandlers")));
}

void TestNfcuiNdef::hexSeparatorsAndInputSources()
{
    const QByteArray data = NdefWriter::message({ NdefWriter::uri(QStringLiteral("http://example.com/a")),
                                                  NdefWriter::text("en", QStringLiteral("Hello")) });
    const Run reference = run({ "inspect", "--hex", str(data.toHex()) });
    QCOMPARE(reference.exitCode, 0);
    QVERIFY(reference.out.startsWith("{\"records\": 2}\n"));

    // Upper case, with colons, blanks and line breaks between the bytes.
    QStringList pairs;
    const QByteArray hex = data.toHex().toUpper();
    for (int i = 0; i < hex.size(); i += 2)
        pairs.append(str(hex.mid(i, 2)));
    const Run separated = run({ "inspect", "--hex", pairs.mid(0, 4).join(':') + QStringLiteral(" \n\t")
                                                        + pairs.mid(4).join(QLatin1Char(' ')) });
    QCOMPARE(separated.exitCode, 0);
    QCOMPARE(separated.out, reference.out);

    const QString path = m_scratch->filePath(QStringLiteral("message.ndef"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(data);
    file.close();
    const Run fromFile = run({ "inspect", "--file", path });
    QCOMPARE(fromFile.exitCode, 0);
    QCOMPARE(fromFile.out, reference.out);

    const Run fromStdin = run({ "inspect" }, data);
    QCOMPARE(fromStdin.exitCode, 0);
    QCOMPARE(fromStdin.out, reference.out);
    const Run fromDash = run({ "inspect", "-" }, data);
    QCOMPARE(fromDash.exitCode, 0);
    QCOMPARE(fromDash.out, reference.out);
}

void TestNfcuiNdef::prefixInKey()
{
    const QList<QJsonObject> records = inspect(
        { "--prefix", "nfc.", "--hex",
          str(hexOf({ NdefWriter::uri(QStringLiteral("sms:+123")), NdefWriter::text("en", QStringLiteral("x")),
                      NdefWriter::external("example.com:x", "y"), NdefWriter::mime("text/plain", "z") })) });
    QCOMPARE(records.size(), 4);
    QCOMPARE(records.at(0).value("key").toString(), QStringLiteral("nfc.sms"));
    QCOMPARE(records.at(1).value("key").toString(), QStringLiteral("nfc.T"));
    QCOMPARE(records.at(2).value("key").toString(), QStringLiteral("nfc.example.com:x"));
    QCOMPARE(records.at(3).value("key").toString(), QStringLiteral("nfc.text/plain"));
}

// ---------------------------------------------------------------------------------------------------
// remember

void TestNfcuiNdef::rememberStoresAnEmptyApplicationName()
{
    const QString hex = str(hexOf({ NdefWriter::uri(QStringLiteral("sms:+123")) }));
    const Run remember = run({ "remember", "--record", "0", "", "--hex", hex });
    QCOMPARE(remember.exitCode, 0);
    QFile database(m_home + QStringLiteral("/.nfc/defaulttaghandlers"));
    QVERIFY(database.open(QIODevice::ReadOnly));
    // One pair: "sms" and the empty (not null) string.
    QCOMPARE(database.readAll().toHex(), QByteArray("0000000100000006" "0073006d0073" "00000000"));
}

void TestNfcuiNdef::rememberThenInspect()
{
    const QString hex = str(hexOf({ NdefWriter::uri(QStringLiteral("https://example.com/")),
                                    NdefWriter::uri(QStringLiteral("http://example.com/")),
                                    NdefWriter::uri(QStringLiteral("https://example.org/other")) }));
    const Run remember = run({ "remember", "--record", "0", "nfcuitest-secure", "--hex", hex });
    QCOMPARE(remember.exitCode, 0);
    const QJsonObject answer = QJsonDocument::fromJson(remember.out).object();
    QCOMPARE(memberOrder(remember.out.trimmed()), (QStringList{ "index", "key", "defaultApplication" }));
    QCOMPARE(answer.value("index").toInt(-1), 0);
    QCOMPARE(answer.value("key").toString(), QStringLiteral("https"));
    QCOMPARE(answer.value("defaultApplication").toString(), QStringLiteral("nfcuitest-secure"));
    QVERIFY(QFile::exists(m_home + QStringLiteral("/.nfc/defaulttaghandlers")));

    const QList<QJsonObject> records = inspect({ "--hex", hex });
    QCOMPARE(records.size(), 3);
    QCOMPARE(records.at(0).value("defaultApplication").toString(), QStringLiteral("nfcuitest-secure"));
    QVERIFY(records.at(1).value("defaultApplication").isNull());
    // Records of the same key share the remembered application.
    QCOMPARE(records.at(2).value("defaultApplication").toString(), QStringLiteral("nfcuitest-secure"));

    // Under a prefix the key is another one.
    const QList<QJsonObject> prefixed = inspect({ "--prefix", "other.", "--hex", hex });
    QCOMPARE(prefixed.size(), 3);
    QVERIFY(prefixed.at(0).value("defaultApplication").isNull());
}

void TestNfcuiNdef::rememberWithPrefix()
{
    const QString hex = str(hexOf({ NdefWriter::text("en", QStringLiteral("x")),
                                    NdefWriter::uri(QStringLiteral("tel:+123")) }));
    const Run remember = run({ "remember", "--record", "1", "--prefix", "agent/", "nfcuitest-phone", "--hex", hex });
    QCOMPARE(remember.exitCode, 0);
    QCOMPARE(QJsonDocument::fromJson(remember.out).object().value("key").toString(), QStringLiteral("agent/tel"));

    const QList<QJsonObject> prefixed = inspect({ "--prefix", "agent/", "--hex", hex });
    QCOMPARE(prefixed.size(), 2);
    QCOMPARE(prefixed.at(1).value("key").toString(), QStringLiteral("agent/tel"));
    QCOMPARE(prefixed.at(1).value("defaultApplication").toString(), QStringLiteral("nfcuitest-phone"));
    QVERIFY(prefixed.at(0).value("defaultApplication").isNull());

    const QList<QJsonObject> plain = inspect({ "--hex", hex });
    QCOMPARE(plain.size(), 2);
    QVERIFY(plain.at(1).value("defaultApplication").isNull());
}

void TestNfcuiNdef::rememberDatabaseFormat()
{
    const QByteArray data = NdefWriter::message({ NdefWriter::uri(QStringLiteral("sms:+123?body=hi")) });
    const Run remember = run({ "remember", "--record", "0", "App" }, data);
    QCOMPARE(remember.exitCode, 0);

    QFile file(m_home + QStringLiteral("/.nfc/defaulttaghandlers"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    // One pair: the count, then the key "sms" and the value "App", each as its byte length and its
    // UTF-16 big-endian code units.
    const QByteArray expected = QByteArray::fromHex("00000001"
                                                    "00000006" "0073006d0073"
                                                    "00000006" "004100700070");
    QCOMPARE(file.readAll().toHex(), expected.toHex());
}

void TestNfcuiNdef::rememberReplacesAndKeeps()
{
    const QString hex = str(hexOf({ NdefWriter::uri(QStringLiteral("sms:+123")),
                                    NdefWriter::mime("text/plain", "p") }));
    QCOMPARE(run({ "remember", "--record", "0", "First", "--hex", hex }).exitCode, 0);
    QCOMPARE(run({ "remember", "--record", "1", QStringLiteral("Näyttö"), "--hex", hex }).exitCode, 0);
    QCOMPARE(run({ "remember", "--record", "0", "Second", "--hex", hex }).exitCode, 0);

    // Read the pairs back by the documented layout, in whatever order they were written.
    QFile file(m_home + QStringLiteral("/.nfc/defaulttaghandlers"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    int pos = 0;
    auto readUint32 = [&](quint32* value) {
        if (pos + 4 > bytes.size())
            return false;
        *value = quint32(uchar(bytes.at(pos))) << 24 | quint32(uchar(bytes.at(pos + 1))) << 16
            | quint32(uchar(bytes.at(pos + 2))) << 8 | quint32(uchar(bytes.at(pos + 3)));
        pos += 4;
        return true;
    };
    auto readString = [&](QString* text) {
        quint32 length = 0;
        if (!readUint32(&length) || length % 2 || pos + int(length) > bytes.size())
            return false;
        text->clear();
        for (quint32 i = 0; i < length; i += 2)
            text->append(QChar(ushort(uchar(bytes.at(pos + int(i))) << 8 | uchar(bytes.at(pos + int(i) + 1)))));
        pos += int(length);
        return true;
    };
    quint32 count = 0;
    QVERIFY(readUint32(&count));
    QCOMPARE(count, 2u);
    QMap<QString, QString> pairs;
    for (quint32 i = 0; i < count; ++i) {
        QString key;
        QString value;
        QVERIFY(readString(&key));
        QVERIFY(readString(&value));
        pairs.insert(key, value);
    }
    QCOMPARE(pos, bytes.size());
    QCOMPARE(pairs, (QMap<QString, QString>{ { "sms", "Second" }, { "text/plain", QStringLiteral("Näyttö") } }));
}

void TestNfcuiNdef::rememberMimeRecordLeavesNoFile()
{
    const QDir tmp(QStringLiteral("/tmp"));
    const QStringList pattern = { QStringLiteral("nfc-mime-tag-content-*") };
    const QStringList before = tmp.entryList(pattern, QDir::Files);
    const Run remember = run({ "remember", "--record", "0", "nfcuitest-viewer", "--hex",
                               str(hexOf({ NdefWriter::mime("text/plain", "data") })) });
    QCOMPARE(remember.exitCode, 0);
    QCOMPARE(QJsonDocument::fromJson(remember.out).object().value("key").toString(), QStringLiteral("text/plain"));
    // Files of other processes may come and go meanwhile; none may be left that was not there before
    // and that holds this run's payload.
    const QStringList after = tmp.entryList(pattern, QDir::Files);
    for (const QString& name : after) {
        if (before.contains(name))
            continue;
        QFile file(tmp.filePath(name));
        if (file.open(QIODevice::ReadOnly))
            QVERIFY2(file.readAll() != "data", qPrintable(name));
    }
}

// ---------------------------------------------------------------------------------------------------
// build

void TestNfcuiNdef::buildKnownBytes()
{
    // MB, ME, SR and TNF 1; type length 1, payload length 12; "U"; identifier code 1 ("http://www.").
    const Run result = run({ "build", "--uri", "http://www.example.com" });
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.out, QByteArray("d1010c5501") + QByteArray("example.com").toHex() + '\n');
}

void TestNfcuiNdef::buildMatchesEncoder()
{
    const QString payloadPath = m_scratch->filePath(QStringLiteral("payload.bin"));
    QFile payloadFile(payloadPath);
    QVERIFY(payloadFile.open(QIODevice::WriteOnly));
    const QByteArray payload(300, '\x5a'); // long enough for the long record form
    payloadFile.write(payload);
    payloadFile.close();

    const Run result = run({ "build", "--uri", "tel:+123", "--text", "en", "Hi", "--text16", "fi", "Moi",
                             "--mime", "application/octet-stream", payloadPath, "--external", "example.com:t", "c",
                             "--smartposter", "https://example.com", "--title", "en", "Title", "--title", "fi",
                             "Otsikko", "--raw", "5", "", "0102" });
    QCOMPARE(result.exitCode, 0);
    const QByteArray expected = NdefWriter::message({
        NdefWriter::uri(QStringLiteral("tel:+123")),
        NdefWriter::text("en", QStringLiteral("Hi")),
        NdefWriter::text("fi", QStringLiteral("Moi"), true),
        NdefWriter::mime("application/octet-stream", payload),
        NdefWriter::external("example.com:t", "c"),
        NdefWriter::smartPoster(QStringLiteral("https://example.com"),
                                { qMakePair(QByteArray("en"), QStringLiteral("Title")),
                                  qMakePair(QByteArray("fi"), QStringLiteral("Otsikko")) }),
        NdefWriter::raw(5, QByteArray(), QByteArray::fromHex("0102")),
    });
    QCOMPARE(result.out, expected.toHex() + '\n');
}

void TestNfcuiNdef::buildRoundTrip()
{
    const QString cardPath = m_scratch->filePath(QStringLiteral("card.vcf"));
    QFile card(cardPath);
    QVERIFY(card.open(QIODevice::WriteOnly));
    card.write(validCard);
    card.close();

    const Run built = run({ "build", "--uri", "sms:+358401234567", "--text", "fi-FI", QStringLiteral("Tervetuloa"),
                            "--text16", "en-GB", QStringLiteral("Welcome ✓"), "--mime", "text/x-vcard", cardPath,
                            "--external", "example.com:link", "http://example.com/x", "--smartposter",
                            "example.com/poster", "--title", "en-GB", "Poster", "--title", "fi-FI", "Juliste",
                            "--raw", "1", "Hs", "1201" });
    QCOMPARE(built.exitCode, 0);
    QVERIFY(QRegularExpression(QStringLiteral("^[0-9a-f]+\n$")).match(str(built.out)).hasMatch());

    const QList<QJsonObject> records = inspect({ "--locale", "fi_FI", "--hex", str(built.out.trimmed()) });
    QCOMPARE(records.size(), 7);

    QCOMPARE(records.at(0).value("kind").toString(), QStringLiteral("uri"));
    QCOMPARE(records.at(0).value("uri").toString(), QStringLiteral("sms:+358401234567"));
    QCOMPARE(records.at(0).value("smsUri").toBool(), true);

    QCOMPARE(records.at(1).value("kind").toString(), QStringLiteral("text"));
    QCOMPARE(records.at(1).value("text").toString(), QStringLiteral("Tervetuloa"));
    QCOMPARE(records.at(1).value("language").toString(), QStringLiteral("fi-FI"));

    QCOMPARE(records.at(2).value("text").toString(), QStringLiteral("Welcome ✓"));
    QCOMPARE(records.at(2).value("language").toString(), QStringLiteral("en-GB"));

    QCOMPARE(records.at(3).value("kind").toString(), QStringLiteral("mime"));
    QCOMPARE(records.at(3).value("payloadSize").toInt(), int(qstrlen(validCard)));
    QCOMPARE(records.at(3).value("mimeType").toString(), QStringLiteral("text/x-vcard"));

    QCOMPARE(records.at(4).value("kind").toString(), QStringLiteral("external"));
    QCOMPARE(records.at(4).value("externalType").toString(), QStringLiteral("example.com:link"));
    QCOMPARE(records.at(4).value("externalContent").toString(), QStringLiteral("http://example.com/x"));
    // The content is a web address, which the browser handles.
    QCOMPARE(toStringList(records.at(4).value("actions")), QStringList{ "nfcuitest-browser" });
    QCOMPARE(records.at(4).value("supported").toBool(), true);
    QCOMPARE(records.at(4).value("predefined").toBool(true), false);

    QCOMPARE(records.at(5).value("type").toString(), QStringLiteral("Sp"));
    QCOMPARE(records.at(5).value("uri").toString(), QStringLiteral("http://example.com/poster"));
    QCOMPARE(records.at(5).value("text").toString(), QStringLiteral("Juliste"));
    QCOMPARE(records.at(5).value("language").toString(), QStringLiteral("fi-FI"));

    QCOMPARE(records.at(6).value("tnf").toInt(), 1);
    QCOMPARE(records.at(6).value("type").toString(), QStringLiteral("Hs"));
    QCOMPARE(records.at(6).value("payloadSize").toInt(), 2);
    QCOMPARE(records.at(6).value("kind").toString(), QStringLiteral("other"));
}

void TestNfcuiNdef::buildToFile()
{
    const QString path = m_scratch->filePath(QStringLiteral("built.ndef"));
    const QStringList records = { "--text", "en", "Hello", "--uri", "https://example.com/" };
    const Run toFile = run(QStringList{ "build", "--out", path } + records);
    QCOMPARE(toFile.exitCode, 0);
    QVERIFY(toFile.out.isEmpty());
    const Run asHex = run(QStringList{ "build" } + records);
    QCOMPARE(asHex.exitCode, 0);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    QCOMPARE(bytes.toHex() + '\n', asHex.out);

    const QList<QJsonObject> inspected = inspect({ "--file", path });
    QCOMPARE(inspected.size(), 2);
    QCOMPARE(inspected.at(0).value("text").toString(), QStringLiteral("Hello"));
    QCOMPARE(inspected.at(1).value("uri").toString(), QStringLiteral("https://example.com/"));
}

QTEST_GUILESS_MAIN(TestNfcuiNdef)

#include "tst_nfcuindef.moc"
