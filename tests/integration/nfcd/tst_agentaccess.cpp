// Who may replace the registered UI agent and change the adapter's settings: the daemon's core in
// process, on the private system bus, with the callers' users given as the bus would report them.
#include <QtTest>

#include <QDBusConnection>
#include <QDBusError>

#include "nfcdaemon.h"

#include <unistd.h>

namespace {

const QDBusObjectPath agentPath(QStringLiteral("/agent"));
// Users that are neither root nor the daemon's (the test's) user.
const uint someUser = 60001;
const uint anotherUser = 60002;

} // namespace

class tst_AgentAccess : public QObject
{
    Q_OBJECT

private:
    QDBusConnection first = QDBusConnection::connectToBus(QDBusConnection::SystemBus, QStringLiteral("first"));
    QDBusConnection second = QDBusConnection::connectToBus(QDBusConnection::SystemBus, QStringLiteral("second"));
    std::unique_ptr<NfcDaemon> daemon;

    // The first connection's agent, registered by someUser.
    void registerFirstAgent()
    {
        QCOMPARE(daemon->registerAgent(first.baseService(), agentPath, someUser).type(), QDBusError::NoError);
        QCOMPARE(daemon->agentService(), first.baseService());
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(first.isConnected() && second.isConnected(), "no private system bus");
    }

    void init()
    {
        daemon = std::make_unique<NfcDaemon>(QDBusConnection::systemBus(), true, 120000);
    }

    void cleanup()
    {
        daemon.reset();
    }

    void anotherUsersAgentDoesNotReplaceTheRegisteredOne()
    {
        registerFirstAgent();
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral(
                                               "of user 60002 refused: the agent of user 60001 is registered")));
        const QDBusError refused = daemon->registerAgent(second.baseService(), agentPath, anotherUser);
        QCOMPARE(refused.type(), QDBusError::AccessDenied);
        QCOMPARE(refused.message(), QStringLiteral("The UI agent of another user is registered"));
        QCOMPARE(daemon->agentService(), first.baseService());
    }

    void aCallerWhoseUserIsUnknownDoesNotReplaceTheAgent()
    {
        registerFirstAgent();
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("refused")));
        QCOMPARE(daemon->registerAgent(second.baseService(), agentPath, NfcDaemon::UnknownUid).type(),
                 QDBusError::AccessDenied);
        QCOMPARE(daemon->agentService(), first.baseService());
    }

    void theSameUsersAgentReplacesTheRegisteredOne()
    {
        registerFirstAgent();
        QCOMPARE(daemon->registerAgent(second.baseService(), agentPath, someUser).type(), QDBusError::NoError);
        QCOMPARE(daemon->agentService(), second.baseService());
    }

    void rootAndTheDaemonsUserReplaceAnyUsersAgent()
    {
        registerFirstAgent();
        QCOMPARE(daemon->registerAgent(second.baseService(), agentPath, 0).type(), QDBusError::NoError);
        QCOMPARE(daemon->agentService(), second.baseService());
        QCOMPARE(daemon->registerAgent(first.baseService(), agentPath, uint(::getuid())).type(), QDBusError::NoError);
        QCOMPARE(daemon->agentService(), first.baseService());
    }

    void anyUserRegistersWhenNoAgentIs()
    {
        QCOMPARE(daemon->registerAgent(first.baseService(), agentPath, anotherUser).type(), QDBusError::NoError);
        QCOMPARE(daemon->agentService(), first.baseService());
    }

    void settingsChangeForRootTheDaemonsUserAndTheAgentsUserOnly()
    {
        QVERIFY(daemon->maySetProperties(0));
        QVERIFY(daemon->maySetProperties(uint(::getuid())));
        QVERIFY(!daemon->maySetProperties(someUser));
        registerFirstAgent();
        QVERIFY(daemon->maySetProperties(someUser));
        QVERIFY(!daemon->maySetProperties(anotherUser));
        QVERIFY(!daemon->maySetProperties(NfcDaemon::UnknownUid));
    }
};

QTEST_GUILESS_MAIN(tst_AgentAccess)
#include "tst_agentaccess.moc"
