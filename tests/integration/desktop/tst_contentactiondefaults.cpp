// ContentAction's default application when the defaults come from each kind of association file GIO
// reads, and when there is none at all. The suite starts with no association file anywhere; each
// test writes one, waits until the default it names is honoured, removes it and waits until the
// default is GIO's own again.
#define QT_NO_KEYWORDS
#include <gio/gio.h>

#include "contentaction.h"
#include "testenvironment.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdio>

using ContentAction::Action;

namespace {

const char schemeType[] = "x-scheme-handler/quandel";
const char uri[] = "quandel:open";

QStringList namesOf(const QList<Action>& actions)
{
    QStringList names;
    for (const Action& action : actions)
        names.append(action.name());
    return names;
}

bool writeFile(const QString& path, const QByteArray& contents)
{
    // Replaced in one step, so that GIO never reads half a file.
    const QString temporary = path + QStringLiteral(".new");
    QFile file(temporary);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(contents) != contents.size())
        return false;
    file.close();
    return std::rename(QFile::encodeName(temporary).constData(), QFile::encodeName(path).constData()) == 0;
}

QString stripped(const char* desktopId)
{
    QString id = QString::fromUtf8(desktopId);
    id.chop(int(qstrlen(".desktop")));
    return id;
}

// GIO's own answers, for comparison: the applications it lists for the type and its default.
QStringList gioListed()
{
    QStringList names;
    GList* apps = g_app_info_get_all_for_type(schemeType);
    for (GList* item = apps; item; item = item->next)
        names.append(stripped(g_app_info_get_id(G_APP_INFO(item->data))));
    g_list_free_full(apps, g_object_unref);
    return names;
}

QString gioDefault()
{
    GAppInfo* app = g_app_info_get_default_for_type(schemeType, FALSE);
    const QString name = app ? stripped(g_app_info_get_id(app)) : QString();
    if (app)
        g_object_unref(app);
    return name;
}

} // namespace

class TestContentActionDefaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void withoutAssociationFilesTheDefaultIsTheFirstApplicationListed();
    void associationFileMakesItsDefaultFirst_data();
    void associationFileMakesItsDefaultFirst();
    void removedAssociationFileGivesBackTheListedOrder();

private:
    QTemporaryDir m_root;
    QStringList m_listed;
};

void TestContentActionDefaults::initTestCase()
{
    QVERIFY(m_root.isValid());
    const QString error = TestEnvironment::isolate(m_root.path());
    QVERIFY2(error.isEmpty(), qPrintable(error));
    // Desktop-specific association files are named after the desktop in lower case.
    qputenv("XDG_CURRENT_DESKTOP", "Quandel:Other");

    const QString applications = TestEnvironment::dataHome(m_root.path()) + QStringLiteral("/applications");
    for (const char* name : {"alpha", "mid", "zeta"}) {
        QFile entry(applications + QLatin1Char('/') + QLatin1String(name) + QStringLiteral(".desktop"));
        QVERIFY(entry.open(QIODevice::WriteOnly));
        entry.write(QByteArray("[Desktop Entry]\nType=Application\nName=") + name
                    + "\nExec=/bin/true %U\nMimeType=" + schemeType + ";\n");
    }
    QCOMPARE(QProcess::execute(QStringLiteral("update-desktop-database"), {applications}), 0);

    m_listed = gioListed();
    QCOMPARE(m_listed.size(), 3);
}

void TestContentActionDefaults::withoutAssociationFilesTheDefaultIsTheFirstApplicationListed()
{
    const QList<Action> actions = Action::actionsForScheme(QString::fromLatin1(uri));
    QCOMPARE(namesOf(actions), m_listed);
    QCOMPARE(actions.first().name(), gioDefault());
    for (const Action& action : actions)
        QVERIFY(action.isValid());
}

void TestContentActionDefaults::associationFileMakesItsDefaultFirst_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("group");
    const QString config = TestEnvironment::configHome(m_root.path());
    const QString configDirs = m_root.path() + QStringLiteral("/config-dirs");
    const QString dataApplications = TestEnvironment::dataHome(m_root.path()) + QStringLiteral("/applications");
    const QString systemApplications = TestEnvironment::systemDataDir(m_root.path()) + QStringLiteral("/applications");
    const QByteArray defaults("Default Applications");
    QTest::newRow("user configuration") << config + QStringLiteral("/mimeapps.list") << defaults;
    QTest::newRow("first desktop's") << config + QStringLiteral("/quandel-mimeapps.list") << defaults;
    QTest::newRow("second desktop's") << config + QStringLiteral("/other-mimeapps.list") << defaults;
    QTest::newRow("system configuration") << configDirs + QStringLiteral("/mimeapps.list") << defaults;
    QTest::newRow("user applications") << dataApplications + QStringLiteral("/mimeapps.list") << defaults;
    QTest::newRow("older defaults.list") << dataApplications + QStringLiteral("/defaults.list") << defaults;
    QTest::newRow("system applications") << systemApplications + QStringLiteral("/mimeapps.list") << defaults;
    // Added associations put an application first too.
    QTest::newRow("added association") << config + QStringLiteral("/mimeapps.list")
                                       << QByteArray("Added Associations");
}

void TestContentActionDefaults::associationFileMakesItsDefaultFirst()
{
    QFETCH(QString, file);
    QFETCH(QByteArray, group);
    // The application GIO lists last becomes the default.
    const QString chosen = m_listed.last();
    QVERIFY(writeFile(file, "[" + group + "]\n" + schemeType + "=" + chosen.toUtf8() + ".desktop\n"));
    auto cleanUp = qScopeGuard([&] { QFile::remove(file); });

    QTRY_COMPARE_WITH_TIMEOUT(gioDefault(), chosen, 10000);
    QTRY_COMPARE_WITH_TIMEOUT(Action::actionsForScheme(QString::fromLatin1(uri)).value(0).name(), chosen, 10000);
    QStringList others = namesOf(Action::actionsForScheme(QString::fromLatin1(uri)));
    QCOMPARE(others.size(), m_listed.size());
    others.sort();
    QStringList expected = m_listed;
    expected.sort();
    QCOMPARE(others, expected);

    QVERIFY(QFile::remove(file));
    cleanUp.dismiss();
    QTRY_COMPARE_WITH_TIMEOUT(namesOf(Action::actionsForScheme(QString::fromLatin1(uri))), m_listed, 10000);
}

void TestContentActionDefaults::removedAssociationFileGivesBackTheListedOrder()
{
    QCOMPARE(gioDefault(), m_listed.first());
    QCOMPARE(namesOf(Action::actionsForScheme(QString::fromLatin1(uri))), m_listed);
}

QTEST_GUILESS_MAIN(TestContentActionDefaults)

#include "tst_contentactiondefaults.moc"
