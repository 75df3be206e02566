// ContentAction over GIO, against desktop entries, mimeinfo.cache files and a mimeapps.list this suite
// installs into its own XDG directories before the first lookup. The entries start a small script
// that writes the arguments it was given to a file named after the entry.
#include "contentaction.h"
#include "inheriteddescriptors.h"
#include "spawnguard.h"
#include "testenvironment.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QMap>
#include <QProcess>
#include <QReadWriteLock>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QtTest>

#include <atomic>
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

using ContentAction::Action;

namespace {

QStringList namesOf(const QList<Action>& actions)
{
    QStringList names;
    for (const Action& action : actions)
        names.append(action.name());
    return names;
}

// One argument of an Exec line, quoted as desktop entries quote (then escaped for the key file).
QString execArgument(const QString& argument)
{
    static const QRegularExpression reserved(QStringLiteral("[\\s\"'\\\\><~|&;$*?#()`%]"));
    if (!argument.contains(reserved))
        return argument;
    QString quoted = argument;
    quoted.replace(QLatin1Char('\\'), QStringLiteral("\\\\"));
    for (const char c : {'"', '`', '$'})
        quoted.replace(QLatin1Char(c), QStringLiteral("\\") + QLatin1Char(c));
    quoted.replace(QLatin1Char('%'), QStringLiteral("%%"));
    quoted = QLatin1Char('"') + quoted + QLatin1Char('"');
    // The key file's own escape: a backslash is written twice.
    quoted.replace(QLatin1Char('\\'), QStringLiteral("\\\\"));
    return quoted;
}

bool writeFile(const QString& path, const QByteArray& contents)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(contents) == contents.size();
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The read system calls this process has made so far; -1 when the kernel does not say.
qint64 readSyscalls()
{
    const QList<QByteArray> lines = readFile(QStringLiteral("/proc/self/io")).split('\n');
    for (const QByteArray& line : lines) {
        if (line.startsWith("syscr:"))
            return line.mid(6).trimmed().toLongLong();
    }
    return -1;
}

QString valueOf(const QStringList& description, const QString& key)
{
    for (const QString& line : description) {
        if (line.startsWith(key + QLatin1Char(' ')))
            return line.mid(key.size() + 1);
    }
    return QString();
}

} // namespace

class TestContentAction : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void namesAreDesktopIdsWithoutSuffix();
    void schemeHandlersListTheDefaultFirst_data();
    void schemeHandlersListTheDefaultFirst();
    void schemeIsCaseInsensitive();
    void schemeDefaultThatClaimsNothingIsListed();
    void textWithoutKnownSchemeHasNoSchemeHandlers_data();
    void textWithoutKnownSchemeHasNoSchemeHandlers();
    void schemeActionTriggersOnTheUri();

    void stringActions_data();
    void stringActions();
    void stringsOfNoKnownKindHaveNoActions_data();
    void stringsOfNoKnownKindHaveNoActions();

    void fileActions_data();
    void fileActions();
    void fileActionTriggersOnTheFile();
    void fileWithoutHandlersHasNoActions();
    void defaultActionForFile_data();
    void defaultActionForFile();

    void launcherStartsTheEntryWithTheArguments();
    void launcherAcceptsTheIdWithoutSuffix();
    void launcherOfMissingEntryIsInvalid_data();
    void launcherOfMissingEntryIsInvalid();
    void launcherOfEntryWithoutFieldCodesStartsItOnceWithoutArguments();
    void invalidActionTriggerDoesNothing();
    void triggerWarnsWhenTheApplicationCannotStart();
    void programIsSpawnedByTheDialogServerItself();
    void programInheritsNoDescriptorOfTheDialogServer();
    void spawnedProgramIsReapedWhenItEnds();
    void programStartedWhileASoundIsHandedOverIsForked();

    void repeatedLookupsDoNotReadTheDisk();
    void benchmarkSchemeLookup();

    void entryInstalledWhileRunningIsFound();
    void defaultChangedWhileRunningIsHonoured();

private:
    QString applicationsHome() const { return TestEnvironment::dataHome(m_root.path()) + QStringLiteral("/applications"); }
    QString applicationsSystem() const
    {
        return TestEnvironment::systemDataDir(m_root.path()) + QStringLiteral("/applications");
    }
    QString outputOf(const QString& name) const { return m_root.filePath(QStringLiteral("out/") + name); }
    QString runsOf(const QString& name) const { return outputOf(name) + QStringLiteral(".runs"); }
    QString filePath(const QString& name) const { return m_root.filePath(QStringLiteral("files/") + name); }

    // Writes an entry that runs program (the recording script unless given) with fieldCode.
    bool writeEntry(const QString& dir, const QString& fileName, const QStringList& mimeTypes,
                    const QString& fieldCode = QStringLiteral("%U"), const QString& extraLines = QString());
    bool updateDatabase(const QString& dir);
    bool writeDefaults(const QMap<QString, QString>& defaults);
    void forgetOutput(const QString& name);
    // The lines a run of the entry wrote; waits for the run.
    QStringList argumentsOfRun(const QString& name);
    // Starts the "describe" entry and returns what it wrote about itself: "pid N", "ppid N" and the
    // target of each of its descriptors.
    QStringList describeStartedProgram();

    QTemporaryDir m_root;
    QString m_recorder;
    QMap<QString, QString> m_defaults;
};

bool TestContentAction::writeEntry(const QString& dir, const QString& fileName, const QStringList& mimeTypes,
                                   const QString& fieldCode, const QString& extraLines)
{
    const QString name = QFileInfo(fileName).completeBaseName();
    const QString id = QString(fileName).replace(QLatin1Char('/'), QLatin1Char('-')).chopped(int(qstrlen(".desktop")));
    QString exec = execArgument(m_recorder) + QLatin1Char(' ') + execArgument(outputOf(id));
    if (!fieldCode.isEmpty())
        exec += QLatin1Char(' ') + fieldCode;
    QString entry = QStringLiteral("[Desktop Entry]\nType=Application\nName=%1\nExec=%2\n").arg(name, exec);
    if (!mimeTypes.isEmpty())
        entry += QStringLiteral("MimeType=%1;\n").arg(mimeTypes.join(QLatin1Char(';')));
    entry += extraLines;
    const QString path = dir + QLatin1Char('/') + fileName;
    return QDir().mkpath(QFileInfo(path).path()) && writeFile(path, entry.toUtf8());
}

bool TestContentAction::updateDatabase(const QString& dir)
{
    // Writes the directory's mimeinfo.cache, from which GIO learns the types the entries claim.
    return QProcess::execute(QStringLiteral("update-desktop-database"), {dir}) == 0;
}

bool TestContentAction::writeDefaults(const QMap<QString, QString>& defaults)
{
    QByteArray list("[Default Applications]\n");
    for (auto it = defaults.constBegin(); it != defaults.constEnd(); ++it)
        list += it.key().toUtf8() + '=' + it.value().toUtf8() + '\n';
    const QString path = TestEnvironment::configHome(m_root.path()) + QStringLiteral("/mimeapps.list");
    // Replaced in one step, so that GIO never reads half a file.
    const QString temporary = path + QStringLiteral(".new");
    return writeFile(temporary, list) && std::rename(QFile::encodeName(temporary).constData(),
                                                  QFile::encodeName(path).constData()) == 0;
}

void TestContentAction::forgetOutput(const QString& name)
{
    QFile::remove(outputOf(name));
    QFile::remove(runsOf(name));
}

QStringList TestContentAction::argumentsOfRun(const QString& name)
{
    if (!QTest::qWaitFor([&] { return QFile::exists(outputOf(name)); }, 10000))
        return {QStringLiteral("<%1 did not run>").arg(name)};
    return QString::fromUtf8(readFile(outputOf(name))).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QStringList TestContentAction::describeStartedProgram()
{
    const Action action = Action::launcherAction(QStringLiteral("describe.desktop"), {});
    if (!action.isValid())
        return {QStringLiteral("<no describe entry>")};
    forgetOutput(action.name());
    action.trigger();
    return argumentsOfRun(action.name());
}

void TestContentAction::initTestCase()
{
    QVERIFY(m_root.isValid());
    const QString error = TestEnvironment::isolate(m_root.path());
    QVERIFY2(error.isEmpty(), qPrintable(error));
    QVERIFY(QDir().mkpath(m_root.filePath(QStringLiteral("out"))));
    QVERIFY(QDir().mkpath(m_root.filePath(QStringLiteral("files"))));
    QVERIFY(QDir().mkpath(m_root.filePath(QStringLiteral("bin"))));

    // Usage: record OUTPUT ARGUMENTS... Writes the arguments one a line to OUTPUT (complete or not at
    // all) and adds a line to OUTPUT.runs for every run.
    m_recorder = m_root.filePath(QStringLiteral("bin/record"));
    QVERIFY(writeFile(m_recorder, "#!/bin/sh\n"
                                  "out=$1\n"
                                  "shift\n"
                                  "echo run >> \"$out.runs\"\n"
                                  "printf '%s\\n' \"$@\" > \"$out.$$\" && mv \"$out.$$\" \"$out\"\n"));
    QVERIFY(QFile::setPermissions(m_recorder, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner));

    // Usage: describe OUTPUT. Writes its pid, its parent's pid and where each of its descriptors
    // leads to OUTPUT.
    const QString describer = m_root.filePath(QStringLiteral("bin/describe"));
    QVERIFY(writeFile(describer, "#!/bin/sh\n"
                                 "out=$1\n"
                                 "{ echo \"pid $$\"; echo \"ppid $PPID\"\n"
                                 "  for fd in /proc/$$/fd/*; do readlink \"$fd\" || true; done; } > \"$out.$$\"\n"
                                 "mv \"$out.$$\" \"$out\"\n"));
    QVERIFY(QFile::setPermissions(describer, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner));

    const QString home = applicationsHome();
    const QString system = applicationsSystem();
    const QString scheme = QStringLiteral("x-scheme-handler/");
    // Scheme handlers (they take URIs).
    // "quandel" and "first-default" have the same handlers and different defaults; "orderly" none.
    const QStringList schemes{scheme + QStringLiteral("quandel"), scheme + QStringLiteral("first-default"),
                              scheme + QStringLiteral("orderly")};
    QVERIFY(writeEntry(home, QStringLiteral("alpha.desktop"), schemes));
    QVERIFY(writeEntry(home, QStringLiteral("zeta.desktop"), schemes));
    QVERIFY(writeEntry(home, QStringLiteral("browser.desktop"),
                       {scheme + QStringLiteral("http"), scheme + QStringLiteral("https")}));
    QVERIFY(writeEntry(home, QStringLiteral("dialer.desktop"), {scheme + QStringLiteral("tel")}));
    QVERIFY(writeEntry(system, QStringLiteral("mailer.desktop"), {scheme + QStringLiteral("mailto")}));
    // File handlers (they take files).
    const QString files = QStringLiteral("%F");
    QVERIFY(writeEntry(home, QStringLiteral("cviewer.desktop"),
                       {QStringLiteral("text/x-csrc"), QStringLiteral("text/plain")}, files));
    QVERIFY(writeEntry(home, QStringLiteral("texteditor.desktop"), {QStringLiteral("text/plain")}, files));
    QVERIFY(writeEntry(home, QStringLiteral("mdviewer.desktop"), {QStringLiteral("text/markdown")}, files));
    QVERIFY(writeEntry(system, QStringLiteral("vendor/viewer.desktop"), {QStringLiteral("text/plain")}, files));
    QVERIFY(writeEntry(home, QStringLiteral("imageviewer.desktop"), {QStringLiteral("image/png")}, files));
    QVERIFY(writeEntry(home, QStringLiteral("paint.desktop"), {QStringLiteral("image/png")}, files));
    QVERIFY(writeEntry(system, QStringLiteral("hexeditor.desktop"), {QStringLiteral("application/octet-stream")},
                       files));
    QVERIFY(writeEntry(home, QStringLiteral("quandeldata.desktop"), {QStringLiteral("application/x-quandel-data")},
                       files));
    // Launchers.
    QVERIFY(writeEntry(home, QStringLiteral("quandelclient.desktop"), {}));
    QVERIFY(writeEntry(home, QStringLiteral("noargs.desktop"), {}, QString()));
    QVERIFY(writeFile(home + QStringLiteral("/describe.desktop"),
                      QStringLiteral("[Desktop Entry]\nType=Application\nName=describe\nExec=%1 %2\n")
                          .arg(execArgument(describer), execArgument(outputOf(QStringLiteral("describe"))))
                          .toUtf8()));
    // Runs in a terminal emulator, which GIO must find in PATH.
    QVERIFY(writeEntry(home, QStringLiteral("console.desktop"), {}, QStringLiteral("%U"),
                       QStringLiteral("Terminal=true\n")));
    QVERIFY(updateDatabase(home));
    QVERIFY(updateDatabase(system));

    m_defaults = {
        {scheme + QStringLiteral("quandel"), QStringLiteral("zeta.desktop")},
        {scheme + QStringLiteral("first-default"), QStringLiteral("alpha.desktop")},
        {scheme + QStringLiteral("borrowed"), QStringLiteral("quandelclient.desktop")},
        {QStringLiteral("image/png"), QStringLiteral("paint.desktop")},
        // A default that claims only a parent type (text/plain) of the type.
        {QStringLiteral("text/markdown"), QStringLiteral("vendor-viewer.desktop")},
    };
    QVERIFY(writeDefaults(m_defaults));

    QVERIFY(writeFile(filePath(QStringLiteral("hello.c")), "#include <stdio.h>\nint main(void) { return 0; }\n"));
    QVERIFY(writeFile(filePath(QStringLiteral("notes.txt")), "Things to do.\n"));
    QVERIFY(writeFile(filePath(QStringLiteral("readme.md")), "# Title\n\nSome *text*.\n"));
    // A PNG signature and header, without a name that tells.
    QVERIFY(writeFile(filePath(QStringLiteral("picture")),
                      QByteArray::fromHex("89504e470d0a1a0a0000000d49484452000000010000000108060000001f15c489")));
    QVERIFY(writeFile(filePath(QStringLiteral("data.bin")), QByteArray::fromHex("00ff10ee20dd30cc40bb50aa00")));
    QVERIFY(QDir().mkpath(filePath(QStringLiteral("folder"))));
}

void TestContentAction::namesAreDesktopIdsWithoutSuffix()
{
    QCOMPARE(namesOf(Action::actionsForScheme(QStringLiteral("tel:112"))), QStringList{QStringLiteral("dialer")});
    // An entry in a subdirectory has the directory in its id.
    const QStringList names = namesOf(Action::actionsForFile(QUrl::fromLocalFile(filePath(QStringLiteral("notes.txt")))));
    QVERIFY2(names.contains(QStringLiteral("vendor-viewer")), qPrintable(names.join(QLatin1Char(' '))));
    for (const QString& name : names)
        QVERIFY2(!name.endsWith(QLatin1String(".desktop")), qPrintable(name));
}

void TestContentAction::schemeHandlersListTheDefaultFirst_data()
{
    QTest::addColumn<QString>("uri");
    QTest::addColumn<QStringList>("names");
    // Both schemes have the same two handlers; only the default differs.
    QTest::newRow("default zeta") << QStringLiteral("quandel:open?id=7")
                                  << QStringList{QStringLiteral("zeta"), QStringLiteral("alpha")};
    QTest::newRow("default alpha") << QStringLiteral("first-default:open")
                                   << QStringList{QStringLiteral("alpha"), QStringLiteral("zeta")};
}

void TestContentAction::schemeHandlersListTheDefaultFirst()
{
    QFETCH(QString, uri);
    QFETCH(QStringList, names);
    const QList<Action> actions = Action::actionsForScheme(uri);
    QCOMPARE(namesOf(actions), names);
    for (const Action& action : actions)
        QVERIFY(action.isValid());

    // Without a default both are still there, once each.
    QStringList orderly = namesOf(Action::actionsForScheme(QStringLiteral("orderly:x")));
    orderly.sort();
    QCOMPARE(orderly, (QStringList{QStringLiteral("alpha"), QStringLiteral("zeta")}));
}

void TestContentAction::schemeIsCaseInsensitive()
{
    QCOMPARE(namesOf(Action::actionsForScheme(QStringLiteral("QuanDel:open"))),
             (QStringList{QStringLiteral("zeta"), QStringLiteral("alpha")}));
}

void TestContentAction::schemeDefaultThatClaimsNothingIsListed()
{
    // mimeapps.list may name any application as the default, even one whose entry claims no types.
    QCOMPARE(namesOf(Action::actionsForScheme(QStringLiteral("borrowed:thing"))),
             QStringList{QStringLiteral("quandelclient")});
}

void TestContentAction::textWithoutKnownSchemeHasNoSchemeHandlers_data()
{
    QTest::addColumn<QString>("uri");
    QTest::newRow("no colon") << QStringLiteral("quandel");
    QTest::newRow("empty scheme") << QStringLiteral(":quandel");
    QTest::newRow("scheme starting with a digit") << QStringLiteral("7quandel:x");
    QTest::newRow("empty") << QString();
    QTest::newRow("scheme without handlers") << QStringLiteral("nobody-handles-this:x");
}

void TestContentAction::textWithoutKnownSchemeHasNoSchemeHandlers()
{
    QFETCH(QString, uri);
    QVERIFY(Action::actionsForScheme(uri).isEmpty());
}

void TestContentAction::schemeActionTriggersOnTheUri()
{
    const QString uri = QStringLiteral("quandel:open?id=7&mode=full");
    const QList<Action> actions = Action::actionsForScheme(uri);
    QCOMPARE(actions.size(), 2);
    for (const Action& action : actions) {
        forgetOutput(action.name());
        action.trigger();
        QTRY_COMPARE_WITH_TIMEOUT(QFile::exists(outputOf(action.name())), true, 10000);
        QCOMPARE(argumentsOfRun(action.name()), QStringList{uri});
    }
}

void TestContentAction::stringActions_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QString>("argument");
    const QStringList browser{QStringLiteral("browser")};
    const QStringList dialer{QStringLiteral("dialer")};
    const QStringList mailer{QStringLiteral("mailer")};
    QTest::newRow("https URI") << QStringLiteral("https://example.org/page?q=1") << browser
                               << QStringLiteral("https://example.org/page?q=1");
    QTest::newRow("URI with surrounding space") << QStringLiteral("  http://example.org/\n") << browser
                                                << QStringLiteral("http://example.org/");
    QTest::newRow("custom scheme URI") << QStringLiteral("quandel:item/3")
                                       << QStringList{QStringLiteral("zeta"), QStringLiteral("alpha")}
                                       << QStringLiteral("quandel:item/3");
    QTest::newRow("tel URI") << QStringLiteral("tel:+358401234567") << dialer << QStringLiteral("tel:+358401234567");
    QTest::newRow("international number") << QStringLiteral("+358 (40) 123-4567") << dialer
                                          << QStringLiteral("tel:+358401234567");
    QTest::newRow("local number") << QStringLiteral("040 123 4567") << dialer << QStringLiteral("tel:0401234567");
    QTest::newRow("emergency number") << QStringLiteral("112") << dialer << QStringLiteral("tel:112");
    QTest::newRow("e-mail address") << QStringLiteral("first.last+tag@mail.example.org") << mailer
                                    << QStringLiteral("mailto:first.last+tag@mail.example.org");
    QTest::newRow("mailto URI") << QStringLiteral("mailto:someone@example.org") << mailer
                                << QStringLiteral("mailto:someone@example.org");
}

void TestContentAction::stringActions()
{
    QFETCH(QString, text);
    QFETCH(QStringList, names);
    QFETCH(QString, argument);
    const QList<Action> actions = Action::actionsForString(text);
    QCOMPARE(namesOf(actions), names);

    const Action& first = actions.first();
    forgetOutput(first.name());
    first.trigger();
    QTRY_COMPARE_WITH_TIMEOUT(QFile::exists(outputOf(first.name())), true, 10000);
    QCOMPARE(argumentsOfRun(first.name()), QStringList{argument});
}

void TestContentAction::stringsOfNoKnownKindHaveNoActions_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("plain text") << QStringLiteral("Buy milk and bread");
    QTest::newRow("text with a colon") << QStringLiteral("Note: buy milk");
    QTest::newRow("empty") << QString();
    QTest::newRow("blank") << QStringLiteral(" \t ");
    QTest::newRow("two digits") << QStringLiteral("12");
    QTest::newRow("too many digits") << QStringLiteral("123456789012345678901");
    QTest::newRow("decimal number") << QStringLiteral("3.14159");
    QTest::newRow("arithmetic") << QStringLiteral("12+34");
    QTest::newRow("plus only") << QStringLiteral("+");
    QTest::newRow("address without domain") << QStringLiteral("someone@");
    QTest::newRow("address without local part") << QStringLiteral("@example.org");
    QTest::newRow("address with a single-label domain") << QStringLiteral("someone@localhost");
    QTest::newRow("address with two dots in a row") << QStringLiteral("first..last@example.org");
    QTest::newRow("address with a space") << QStringLiteral("some one@example.org");
    QTest::newRow("URI of a scheme without handlers") << QStringLiteral("nobody-handles-this:x");
}

void TestContentAction::stringsOfNoKnownKindHaveNoActions()
{
    QFETCH(QString, text);
    QCOMPARE(namesOf(Action::actionsForString(text)), QStringList());
}

void TestContentAction::fileActions_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("mimeType");
    QTest::addColumn<QStringList>("names");
    // text/x-csrc's parents are text/plain, then application/octet-stream. cviewer claims both C and
    // plain text, and is listed once.
    QTest::newRow("detected C source, parents after") << QStringLiteral("hello.c") << QString()
        << QStringList{QStringLiteral("cviewer"), QStringLiteral("texteditor"), QStringLiteral("vendor-viewer"),
                       QStringLiteral("hexeditor")};
    QTest::newRow("detected from content, default first") << QStringLiteral("picture") << QString()
        << QStringList{QStringLiteral("paint"), QStringLiteral("imageviewer"), QStringLiteral("hexeditor")};
    QTest::newRow("given type over the detected one") << QStringLiteral("notes.txt") << QStringLiteral("image/png")
        << QStringList{QStringLiteral("paint"), QStringLiteral("imageviewer"), QStringLiteral("hexeditor")};
    QTest::newRow("given type with parameters") << QStringLiteral("picture")
        << QStringLiteral("text/plain; charset=utf-8")
        << QStringList{QStringLiteral("cviewer"), QStringLiteral("texteditor"), QStringLiteral("vendor-viewer"),
                       QStringLiteral("hexeditor")};
    QTest::newRow("default that claims only a parent type") << QStringLiteral("readme.md") << QString()
        << QStringList{QStringLiteral("vendor-viewer"), QStringLiteral("mdviewer"), QStringLiteral("cviewer"),
                       QStringLiteral("texteditor"), QStringLiteral("hexeditor")};
    QTest::newRow("unknown content") << QStringLiteral("data.bin") << QString()
        << QStringList{QStringLiteral("hexeditor")};
    QTest::newRow("given type unknown to the MIME database") << QStringLiteral("data.bin")
        << QStringLiteral("application/x-quandel-data") << QStringList{QStringLiteral("quandeldata")};
}

void TestContentAction::fileActions()
{
    QFETCH(QString, file);
    QFETCH(QString, mimeType);
    QFETCH(QStringList, names);
    const QUrl url = QUrl::fromLocalFile(filePath(file));
    const QList<Action> actions =
        mimeType.isEmpty() ? Action::actionsForFile(url) : Action::actionsForFile(url, mimeType);
    QCOMPARE(namesOf(actions), names);
}

void TestContentAction::fileActionTriggersOnTheFile()
{
    const QString path = filePath(QStringLiteral("notes.txt"));
    const QList<Action> actions = Action::actionsForFile(QUrl::fromLocalFile(path), QStringLiteral("image/png"));
    QVERIFY(!actions.isEmpty());
    forgetOutput(actions.first().name());
    actions.first().trigger();
    QTRY_COMPARE_WITH_TIMEOUT(QFile::exists(outputOf(actions.first().name())), true, 10000);
    // The entries take files (%F): GIO hands them the path.
    QCOMPARE(argumentsOfRun(actions.first().name()), QStringList{path});

    // A path without a scheme is a local file.
    const QList<Action> fromPath = Action::actionsForFile(QUrl(filePath(QStringLiteral("hello.c"))));
    QCOMPARE(fromPath.value(0).name(), QStringLiteral("cviewer"));
}

void TestContentAction::fileWithoutHandlersHasNoActions()
{
    // inode/directory has no handler and no parent type.
    QVERIFY(Action::actionsForFile(QUrl::fromLocalFile(filePath(QStringLiteral("folder")))).isEmpty());
    QVERIFY(Action::actionsForFile(QUrl::fromLocalFile(filePath(QStringLiteral("data.bin"))),
                                   QStringLiteral("application/x-nobody-handles-this"))
                .isEmpty());
    QVERIFY(Action::actionsForFile(QUrl()).isEmpty());
}

void TestContentAction::defaultActionForFile_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("mimeType");
    QTest::addColumn<QString>("name");
    QTest::newRow("configured default") << QStringLiteral("picture") << QString() << QStringLiteral("paint");
    QTest::newRow("configured default of the given type") << QStringLiteral("notes.txt") << QStringLiteral("image/png")
                                                         << QStringLiteral("paint");
    QTest::newRow("no default: the first handler") << QStringLiteral("hello.c") << QString()
                                                   << QStringLiteral("cviewer");
    QTest::newRow("no handler of the type: a parent's") << QStringLiteral("data.bin") << QStringLiteral("image/jpeg")
                                                        << QStringLiteral("hexeditor");
    QTest::newRow("no handler at all") << QStringLiteral("folder") << QString() << QString();
    QTest::newRow("no handler of the given type") << QStringLiteral("data.bin")
                                                  << QStringLiteral("application/x-nobody-handles-this") << QString();
}

void TestContentAction::defaultActionForFile()
{
    QFETCH(QString, file);
    QFETCH(QString, mimeType);
    QFETCH(QString, name);
    const QUrl url = QUrl::fromLocalFile(filePath(file));
    const Action action =
        mimeType.isEmpty() ? Action::defaultActionForFile(url) : Action::defaultActionForFile(url, mimeType);
    QCOMPARE(action.isValid(), !name.isEmpty());
    QCOMPARE(action.name(), name);
}

void TestContentAction::launcherStartsTheEntryWithTheArguments()
{
    const QStringList arguments{QStringLiteral("--open"), QStringLiteral("quandel:item/7"),
                                QStringLiteral("two words")};
    const Action action = Action::launcherAction(QStringLiteral("quandelclient.desktop"), arguments);
    QVERIFY(action.isValid());
    QCOMPARE(action.name(), QStringLiteral("quandelclient"));
    forgetOutput(action.name());
    action.trigger();
    QTRY_COMPARE_WITH_TIMEOUT(QFile::exists(outputOf(action.name())), true, 10000);
    // The entry takes URIs (%U): the arguments arrive as they are, in one run.
    QCOMPARE(argumentsOfRun(action.name()), arguments);
    QCOMPARE(readFile(runsOf(action.name())), QByteArray("run\n"));
}

void TestContentAction::launcherAcceptsTheIdWithoutSuffix()
{
    const Action action = Action::launcherAction(QStringLiteral("quandelclient"), {});
    QVERIFY(action.isValid());
    QCOMPARE(action.name(), QStringLiteral("quandelclient"));
    forgetOutput(action.name());
    action.trigger();
    QTRY_COMPARE_WITH_TIMEOUT(QFile::exists(outputOf(action.name())), true, 10000);
    QCOMPARE(argumentsOfRun(action.name()), QStringList());
}

void TestContentAction::launcherOfMissingEntryIsInvalid_data()
{
    QTest::addColumn<QString>("entry");
    QTest::newRow("missing") << QStringLiteral("missing.desktop");
    QTest::newRow("missing, without suffix") << QStringLiteral("missing");
    QTest::newRow("empty") << QString();
}

void TestContentAction::launcherOfMissingEntryIsInvalid()
{
    QFETCH(QString, entry);
    const Action action = Action::launcherAction(entry, {QStringLiteral("--open")});
    QVERIFY(!action.isValid());
    QCOMPARE(action.name(), QString());
}

void TestContentAction::launcherOfEntryWithoutFieldCodesStartsItOnceWithoutArguments()
{
    const Action action = Action::launcherAction(QStringLiteral("noargs.desktop"),
                                                 {QStringLiteral("first"), QStringLiteral("second")});
    QVERIFY(action.isValid());
    forgetOutput(action.name());
    action.trigger();
    QTRY_COMPARE_WITH_TIMEOUT(QFile::exists(outputOf(action.name())), true, 10000);
    QCOMPARE(argumentsOfRun(action.name()), QStringList());
    // A second run would have come by now.
    QTest::qWait(500);
    QCOMPARE(readFile(runsOf(action.name())), QByteArray("run\n"));
}

namespace {
int g_warnings = 0;
void countWarnings(QtMsgType type, const QMessageLogContext&, const QString&)
{
    if (type != QtDebugMsg && type != QtInfoMsg)
        ++g_warnings;
}
} // namespace

void TestContentAction::invalidActionTriggerDoesNothing()
{
    const QDir out(m_root.filePath(QStringLiteral("out")));
    const QStringList before = out.entryList(QDir::Files, QDir::Name);

    g_warnings = 0;
    const QtMessageHandler previous = qInstallMessageHandler(countWarnings);
    Action().trigger();
    Action::launcherAction(QStringLiteral("missing.desktop"), {QStringLiteral("x")}).trigger();
    Action::defaultActionForFile(QUrl::fromLocalFile(filePath(QStringLiteral("folder")))).trigger();
    qInstallMessageHandler(previous);
    QCOMPARE(g_warnings, 0);

    QTest::qWait(300);
    QCOMPARE(out.entryList(QDir::Files, QDir::Name), before);
}

namespace {
// Counts the launcher's warnings and passes every message on, so that QTest's own handler still
// matches the expected ones.
std::atomic<int> g_launchWarnings{0};
QtMessageHandler g_nextHandler = nullptr;
void noteLaunchWarning(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (type == QtWarningMsg && message.startsWith(QLatin1String("ContentAction: ")))
        ++g_launchWarnings;
    g_nextHandler(type, context, message);
}
} // namespace

void TestContentAction::triggerWarnsWhenTheApplicationCannotStart()
{
    const Action action = Action::launcherAction(QStringLiteral("console.desktop"), {QStringLiteral("x")});
    QVERIFY(action.isValid());
    // No terminal emulator can be found in an empty PATH.
    const QByteArray path = qgetenv("PATH");
    const auto restorePath = qScopeGuard([&] { qputenv("PATH", path); });
    qputenv("PATH", QFile::encodeName(m_root.filePath(QStringLiteral("bin/empty"))));
    QVERIFY(QDir().mkpath(m_root.filePath(QStringLiteral("bin/empty"))));

    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^ContentAction: .*console")));
    g_launchWarnings = 0;
    g_nextHandler = qInstallMessageHandler(noteLaunchWarning);
    const auto restoreHandler = qScopeGuard([] { qInstallMessageHandler(g_nextHandler); });
    action.trigger();
    // The program is started on the launcher's thread: PATH stays empty until it has tried.
    QTRY_COMPARE_WITH_TIMEOUT(g_launchWarnings.load(), 1, 10000);
    QTest::qWait(100);
    QVERIFY(!QFile::exists(outputOf(action.name())));
}

void TestContentAction::programIsSpawnedByTheDialogServerItself()
{
    // Without a descriptor a program could inherit, it is spawned without forking the dialog server
    // (and without an intermediate process that would leave it to init).
    QVERIFY2(Host::closeInheritedDescriptorsOnExec(), "needs close_range() with CLOSE_RANGE_CLOEXEC (Linux 5.11)");
    const QStringList description = describeStartedProgram();
    QCOMPARE(valueOf(description, QStringLiteral("ppid")), QString::number(QCoreApplication::applicationPid()));
}

void TestContentAction::programInheritsNoDescriptorOfTheDialogServer()
{
    const QString inherited = m_root.filePath(QStringLiteral("files/inheritable"));
    const QString closed = m_root.filePath(QStringLiteral("files/closed-on-exec"));
    QVERIFY(writeFile(inherited, "x") && writeFile(closed, "x"));
    QVERIFY2(Host::closeInheritedDescriptorsOnExec(), "needs close_range() with CLOSE_RANGE_CLOEXEC (Linux 5.11)");
    const int closedFd = ::open(QFile::encodeName(closed).constData(), O_RDONLY | O_CLOEXEC);
    QVERIFY(closedFd >= 0);
    const auto closeClosed = qScopeGuard([closedFd] { ::close(closedFd); });

    const QStringList spawned = describeStartedProgram();
    QVERIFY2(!spawned.contains(closed), qPrintable(spawned.join(QLatin1Char('\n'))));

    // A descriptor someone opened without close-on-exec: the program is started the way that closes
    // every descriptor in the new process, through a fork.
    const int inheritedFd = ::open(QFile::encodeName(inherited).constData(), O_RDONLY);
    QVERIFY(inheritedFd >= 0);
    const auto closeInherited = qScopeGuard([inheritedFd] { ::close(inheritedFd); });
    const QStringList forked = describeStartedProgram();
    QVERIFY2(!forked.contains(inherited), qPrintable(forked.join(QLatin1Char('\n'))));
    QVERIFY2(!forked.contains(closed), qPrintable(forked.join(QLatin1Char('\n'))));
    QVERIFY(!valueOf(forked, QStringLiteral("pid")).isEmpty());
    QVERIFY(valueOf(forked, QStringLiteral("ppid")) != QString::number(QCoreApplication::applicationPid()));
}

void TestContentAction::programStartedWhileASoundIsHandedOverIsForked()
{
    // A sound being handed to the sound system may open descriptors without close-on-exec at any
    // moment, so a program started meanwhile is not spawned with the descriptors left open: after a
    // short wait it is started the forking way, through an intermediate process that leaves it to
    // another parent, and every descriptor is closed in the copy.
    QVERIFY2(Host::closeInheritedDescriptorsOnExec(), "needs close_range() with CLOSE_RANGE_CLOEXEC (Linux 5.11)");
    QReadLocker soundBeingHandedOver(&SpawnGuard::lock());
    const QStringList description = describeStartedProgram();
    QVERIFY2(!description.isEmpty(), "the program did not start");
    QVERIFY(valueOf(description, QStringLiteral("ppid")) != QString::number(QCoreApplication::applicationPid()));
}

void TestContentAction::spawnedProgramIsReapedWhenItEnds()
{
    QVERIFY2(Host::closeInheritedDescriptorsOnExec(), "needs close_range() with CLOSE_RANGE_CLOEXEC (Linux 5.11)");
    const QStringList description = describeStartedProgram();
    QCOMPARE(valueOf(description, QStringLiteral("ppid")), QString::number(QCoreApplication::applicationPid()));
    const QString pid = valueOf(description, QStringLiteral("pid"));
    QVERIFY(!pid.isEmpty());
    // Our child until its exit status is collected: a zombie keeps its /proc entry.
    QTRY_VERIFY_WITH_TIMEOUT(!QFile::exists(QLatin1String("/proc/") + pid), 10000);
}

void TestContentAction::repeatedLookupsDoNotReadTheDisk()
{
    const QString uri = QStringLiteral("quandel:open?id=7");
    const QStringList expected{QStringLiteral("zeta"), QStringLiteral("alpha")};
    QCOMPARE(namesOf(Action::actionsForScheme(uri)), expected);

    const qint64 readsBefore = readSyscalls();
    if (readsBefore < 0)
        QSKIP("/proc/self/io is not available");
    QElapsedTimer timer;
    timer.start();
    int found = 0;
    for (int i = 0; i < 1000; ++i)
        found += Action::actionsForScheme(uri).size();
    const qint64 elapsed = timer.nsecsElapsed();
    const qint64 reads = readSyscalls() - readsBefore;
    qInfo("1000 actionsForScheme lookups: %.2f ms, %lld read calls", elapsed / 1e6, reads);

    QCOMPARE(found, 2000);
    // Building the entries again would read their files on every lookup (several reads each).
    QVERIFY2(reads < 100, qPrintable(QStringLiteral("%1 read calls").arg(reads)));
}

void TestContentAction::benchmarkSchemeLookup()
{
    QBENCHMARK {
        Action::actionsForScheme(QStringLiteral("quandel:open"));
    }
}

void TestContentAction::entryInstalledWhileRunningIsFound()
{
    const QString uri = QStringLiteral("latecomer:hello");
    QVERIFY(Action::actionsForScheme(uri).isEmpty());

    QVERIFY(writeEntry(applicationsHome(), QStringLiteral("newcomer.desktop"),
                       {QStringLiteral("x-scheme-handler/latecomer")}));
    QVERIFY(updateDatabase(applicationsHome()));
    QTRY_COMPARE_WITH_TIMEOUT(namesOf(Action::actionsForScheme(uri)), QStringList{QStringLiteral("newcomer")}, 10000);
    QVERIFY(Action::launcherAction(QStringLiteral("newcomer.desktop"), {}).isValid());
}

void TestContentAction::defaultChangedWhileRunningIsHonoured()
{
    const QString uri = QStringLiteral("latecomer:hello");
    QVERIFY(writeEntry(applicationsHome(), QStringLiteral("rival.desktop"), {QStringLiteral("x-scheme-handler/latecomer")}));
    QVERIFY(updateDatabase(applicationsHome()));
    QTRY_COMPARE_WITH_TIMEOUT(Action::actionsForScheme(uri).size(), 2, 10000);

    for (const QString& chosen : {QStringLiteral("rival"), QStringLiteral("newcomer")}) {
        m_defaults.insert(QStringLiteral("x-scheme-handler/latecomer"), chosen + QStringLiteral(".desktop"));
        QVERIFY(writeDefaults(m_defaults));
        QTRY_COMPARE_WITH_TIMEOUT(Action::actionsForScheme(uri).value(0).name(), chosen, 10000);
        QCOMPARE(Action::actionsForScheme(uri).size(), 2);
    }
}

QTEST_GUILESS_MAIN(TestContentAction)

#include "tst_contentaction.moc"
