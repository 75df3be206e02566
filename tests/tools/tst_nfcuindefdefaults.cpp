// nfcui-ndef defaults, run as a process: listing, forgetting and clearing the remembered applications
// in the record handler's database file, byte for byte, and leaving a damaged file alone.
#include <QtTest>

#include <QDir>
#include <QFile>
#include <QProcess>

#include "ndefwriter.h"

namespace {

struct Run
{
    int exitCode = -1;
    QString out;
    QString err;
};

Run runTool(const QStringList& arguments)
{
    QProcess process;
    process.start(QStringLiteral(NFCUI_NDEF_TOOL), arguments);
    Run run;
    if (!process.waitForFinished(30000)) {
        process.kill();
        process.waitForFinished();
        return run;
    }
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}

// A Qt stream string of version 12: a 32-bit big-endian byte length and UTF-16 big-endian units.
QByteArray streamString(const QString& text)
{
    QByteArray bytes;
    const quint32 length = quint32(text.size() * 2);
    bytes.append(char(length >> 24)).append(char(length >> 16)).append(char(length >> 8)).append(char(length));
    for (const QChar c : text)
        bytes.append(char(c.unicode() >> 8)).append(char(c.unicode() & 0xff));
    return bytes;
}

QByteArray database(const QList<QPair<QString, QString>>& entries)
{
    const quint32 count = quint32(entries.size());
    QByteArray bytes;
    bytes.append(char(count >> 24)).append(char(count >> 16)).append(char(count >> 8)).append(char(count));
    for (const auto& entry : entries)
        bytes += streamString(entry.first) + streamString(entry.second);
    return bytes;
}

} // namespace

class tst_NfcuiNdefDefaults : public QObject
{
    Q_OBJECT

private:
    QString path() const { return QDir::homePath() + QStringLiteral("/.nfc/defaulttaghandlers"); }

    void writeDatabase(const QByteArray& bytes)
    {
        QVERIFY(QDir().mkpath(QDir::homePath() + QStringLiteral("/.nfc")));
        QFile file(path());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    QByteArray readDatabase() const
    {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private Q_SLOTS:
    void init()
    {
        QFile(path()).setPermissions(QFile::ReadOwner | QFile::WriteOwner);
        QFile::remove(path());
        QFile(QDir::homePath() + QStringLiteral("/.nfc")).setPermissions(QFile::ReadOwner | QFile::WriteOwner
                                                                          | QFile::ExeOwner);
    }

    void theDatabaseFormatMatchesTheHandlersExample()
    {
        QCOMPARE(database({{QStringLiteral("sms"), QStringLiteral("App")}}).toHex(),
                 QByteArray("00000001" "00000006" "0073006d0073" "00000006" "004100700070"));
    }

    void listPrintsEveryKeyAndItsApplication()
    {
        writeDatabase(database({{QStringLiteral("http"), QStringLiteral("firefox-esr.desktop")},
                                {QStringLiteral("text/vcard"), QStringLiteral("contacts.desktop")}}));
        const Run run = runTool({QStringLiteral("defaults"), QStringLiteral("list")});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.out, QStringLiteral("http\tfirefox-esr.desktop\ntext/vcard\tcontacts.desktop\n"));
    }

    void listAsJsonLines()
    {
        writeDatabase(database({{QStringLiteral("sms"), QStringLiteral("App")}}));
        const Run run = runTool({QStringLiteral("defaults"), QStringLiteral("list"), QStringLiteral("--json")});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.out, QStringLiteral("{\"key\": \"sms\", \"application\": \"App\"}\n"));
    }

    void listWithoutADatabasePrintsNothing()
    {
        const Run run = runTool({QStringLiteral("defaults"), QStringLiteral("list")});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.out, QString());
        QVERIFY(!QFile::exists(path()));
    }

    void aKeyThatAppearsTwiceShowsItsLaterApplication()
    {
        writeDatabase(database({{QStringLiteral("http"), QStringLiteral("a.desktop")},
                                {QStringLiteral("http"), QStringLiteral("b.desktop")}}));
        const Run run = runTool({QStringLiteral("defaults"), QStringLiteral("list")});
        QCOMPARE(run.out, QStringLiteral("http\tb.desktop\n"));
    }

    void whatRememberStoresIsListed()
    {
        const QByteArray hex = NdefWriter::message({NdefWriter::uri(QStringLiteral("https://example.com/"))}).toHex();
        const Run remember = runTool({QStringLiteral("remember"), QStringLiteral("--record"), QStringLiteral("0"),
                                      QStringLiteral("chromium.desktop"), QStringLiteral("--hex"), QString::fromLatin1(hex)});
        QCOMPARE(remember.exitCode, 0);
        const Run run = runTool({QStringLiteral("defaults"), QStringLiteral("list")});
        QCOMPARE(run.out, QStringLiteral("https\tchromium.desktop\n"));
    }

    void forgetRemovesOneEntry()
    {
        writeDatabase(database({{QStringLiteral("http"), QStringLiteral("a.desktop")},
                                {QStringLiteral("tel"), QStringLiteral("phone.desktop")}}));
        const Run run = runTool({QStringLiteral("defaults"), QStringLiteral("forget"), QStringLiteral("http")});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(readDatabase(), database({{QStringLiteral("tel"), QStringLiteral("phone.desktop")}}));
    }

    void forgettingAnUnknownKeyFailsAndChangesNothing()
    {
        const QByteArray before = database({{QStringLiteral("tel"), QStringLiteral("phone.desktop")}});
        writeDatabase(before);
        const Run run = runTool({QStringLiteral("defaults"), QStringLiteral("forget"), QStringLiteral("http")});
        QCOMPARE(run.exitCode, 1);
        QVERIFY2(run.err.contains(QStringLiteral("no application is remembered for 'http'")), qPrintable(run.err));
        QCOMPARE(readDatabase(), before);
    }

    void clearRemovesEveryEntry()
    {
        writeDatabase(database({{QStringLiteral("http"), QStringLiteral("a.desktop")},
                                {QStringLiteral("tel"), QStringLiteral("phone.desktop")}}));
        const Run run = runTool({QStringLiteral("defaults"), QStringLiteral("clear")});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(readDatabase(), QByteArray::fromHex("00000000"));
        QCOMPARE(runTool({QStringLiteral("defaults"), QStringLiteral("list")}).out, QString());
    }

    void clearWithoutADatabaseWritesNothing()
    {
        QCOMPARE(runTool({QStringLiteral("defaults"), QStringLiteral("clear")}).exitCode, 0);
        QVERIFY(!QFile::exists(path()));
    }

    void aDamagedDatabaseIsReportedWithWhatCouldBeRead()
    {
        // The count promises two pairs; the file holds one.
        QByteArray damaged = database({{QStringLiteral("http"), QStringLiteral("a.desktop")}});
        damaged[3] = 2;
        writeDatabase(damaged);
        const Run run = runTool({QStringLiteral("defaults"), QStringLiteral("list")});
        QCOMPARE(run.exitCode, 1);
        QCOMPARE(run.out, QStringLiteral("http\ta.desktop\n"));
        QVERIFY2(run.err.contains(path() + QStringLiteral(" is damaged: the file promises 2 entries but holds only 1")),
                 qPrintable(run.err));
    }

    void aDamagedDatabaseIsNotWrittenOverWithoutForce()
    {
        const QByteArray damaged = QByteArray::fromHex("000000010000");
        writeDatabase(damaged);
        const Run forget = runTool({QStringLiteral("defaults"), QStringLiteral("forget"), QStringLiteral("http")});
        QCOMPARE(forget.exitCode, 1);
        QVERIFY2(forget.err.contains(QStringLiteral("nothing was changed (--force rewrites it)")), qPrintable(forget.err));
        const Run clear = runTool({QStringLiteral("defaults"), QStringLiteral("clear")});
        QCOMPARE(clear.exitCode, 1);
        QCOMPARE(readDatabase(), damaged);
    }

    void forceRewritesADamagedDatabaseWithWhatCouldBeRead()
    {
        QByteArray damaged = database({{QStringLiteral("http"), QStringLiteral("a.desktop")},
                                       {QStringLiteral("tel"), QStringLiteral("phone.desktop")}});
        damaged.chop(3);
        writeDatabase(damaged);
        const Run run = runTool({QStringLiteral("defaults"), QStringLiteral("forget"), QStringLiteral("tel"),
                                 QStringLiteral("--force")});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(readDatabase(), database({{QStringLiteral("http"), QStringLiteral("a.desktop")}}));
        writeDatabase(damaged);
        QCOMPARE(runTool({QStringLiteral("defaults"), QStringLiteral("clear"), QStringLiteral("--force")}).exitCode, 0);
        QCOMPARE(readDatabase(), QByteArray::fromHex("00000000"));
    }

    void aDatabaseThatCannotBeReplacedIsReported()
    {
        // Nobody, root included, can create files in /proc: the rewrite fails after the file was read.
        const QString path = QStringLiteral("/proc/version");
        const Run run = runTool({QStringLiteral("defaults"), QStringLiteral("clear"), QStringLiteral("--force"),
                                 QStringLiteral("--database"), path});
        QCOMPARE(run.exitCode, 1);
        QVERIFY2(run.err.contains(QStringLiteral("cannot write /proc/version")), qPrintable(run.err));
    }

    void aDatabaseOtherThanTheUsersCanBeNamed()
    {
        const QString other = QDir::homePath() + QStringLiteral("/other-database");
        QFile file(other);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(database({{QStringLiteral("mailto"), QStringLiteral("mail.desktop")}}));
        file.close();
        const Run run = runTool({QStringLiteral("defaults"), QStringLiteral("list"), QStringLiteral("--database"), other});
        QCOMPARE(run.out, QStringLiteral("mailto\tmail.desktop\n"));
    }

    void aMissingOrUnknownActionIsAUsageError()
    {
        QCOMPARE(runTool({QStringLiteral("defaults")}).exitCode, 64);
        QCOMPARE(runTool({QStringLiteral("defaults"), QStringLiteral("reset")}).exitCode, 64);
        QCOMPARE(runTool({QStringLiteral("defaults"), QStringLiteral("forget")}).exitCode, 64);
    }
};

QTEST_GUILESS_MAIN(tst_NfcuiNdefDefaults)
#include "tst_nfcuindefdefaults.moc"
