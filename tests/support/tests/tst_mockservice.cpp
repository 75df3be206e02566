// The shared mock-service helper against python-dbusmock itself: what every integration suite relies on.
#include <QDBusInterface>
#include <QDBusReply>
#include <QSignalSpy>
#include <QTest>

#include "mockservice.h"

class tst_MockService : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void startsATemplateAndLogsItsCalls()
    {
        MockService mock(QStringLiteral("notification_daemon"), MockService::SessionBus,
                         QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("/org/freedesktop/Notifications"));
        QVERIFY2(mock.start(), qPrintable(mock.lastError()));
        QVERIFY(mock.isOnBus());

        QDBusInterface notifications(mock.busName(), QStringLiteral("/org/freedesktop/Notifications"),
                                     QStringLiteral("org.freedesktop.Notifications"), mock.connection());
        const QDBusReply<uint> id = notifications.call(QStringLiteral("Notify"), QStringLiteral("app"), 0u, QString(),
                                                      QStringLiteral("summary"), QString(), QStringList(),
                                                      QVariantMap {{QStringLiteral("transient"), true}}, -1);
        QVERIFY2(id.isValid(), qPrintable(id.error().message()));

        const QList<MockCall> calls = mock.calls(QStringLiteral("/org/freedesktop/Notifications"));
        QCOMPARE(calls.size(), 1);
        QCOMPARE(calls.first().method, QStringLiteral("Notify"));
        QCOMPARE(calls.first().args.value(3).toString(), QStringLiteral("summary"));
        QCOMPARE(calls.first().args.value(6).toMap().value(QStringLiteral("transient")).toBool(), true);

        QVERIFY(mock.clearCalls(QStringLiteral("/org/freedesktop/Notifications")));
        QVERIFY(mock.calls(QStringLiteral("/org/freedesktop/Notifications")).isEmpty());
    }

    void stopReleasesTheName()
    {
        MockService mock(QStringLiteral("notification_daemon"), MockService::SessionBus,
                         QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("/org/freedesktop/Notifications"));
        QVERIFY2(mock.start(), qPrintable(mock.lastError()));
        mock.stop();
        QVERIFY(!mock.isRunning());
        QVERIFY(!mock.isOnBus());
    }

    void addedObjectsAndMethodsAnswer()
    {
        MockService mock(MockService::projectTemplate(QStringLiteral("notes.py")), MockService::SessionBus,
                         QStringLiteral("com.orvan.Notes"));
        QVERIFY2(mock.start(), qPrintable(mock.lastError()));
        QVERIFY2(mock.addObject(QStringLiteral("/test"), QStringLiteral("com.orvan.Test"),
                                {{QStringLiteral("Answer"), 42}},
                                {{QStringLiteral("Twice"), QStringLiteral("i"), QStringLiteral("i"),
                                  QStringLiteral("ret = args[0] * 2")}}),
                 qPrintable(mock.lastError()));
        const QDBusMessage reply = mock.call(QStringLiteral("/test"), QStringLiteral("com.orvan.Test"),
                                             QStringLiteral("Twice"), {21});
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        QCOMPARE(reply.arguments().value(0).toInt(), 42);
        QCOMPARE(mock.callNames(QStringLiteral("/test")), QStringList {QStringLiteral("Twice")});
    }

    void emittedSignalsReachTheBus()
    {
        MockService mock(MockService::projectTemplate(QStringLiteral("notes.py")), MockService::SessionBus,
                         QStringLiteral("com.orvan.Notes"));
        QVERIFY2(mock.start(), qPrintable(mock.lastError()));
        QVERIFY(mock.addObject(QStringLiteral("/signals"), QStringLiteral("com.orvan.Test"), {}));
        QSignalSpy received(this, SIGNAL(pinged(QString)));
        QVERIFY(mock.connection().connect(mock.busName(), QStringLiteral("/signals"), QStringLiteral("com.orvan.Test"),
                                          QStringLiteral("Ping"), this, SIGNAL(pinged(QString))));
        QVERIFY2(mock.emitSignal(QStringLiteral("/signals"), QStringLiteral("com.orvan.Test"), QStringLiteral("Ping"),
                                 QStringLiteral("s"), {QStringLiteral("hello")}),
                 qPrintable(mock.lastError()));
        QVERIFY(received.wait(5000));
        QCOMPARE(received.first().first().toString(), QStringLiteral("hello"));
    }

    void aBrokenTemplateFailsWithTheReason()
    {
        MockService mock(QStringLiteral("/nonexistent/template.py"), MockService::SessionBus,
                         QStringLiteral("com.orvan.Nobody"));
        QVERIFY(!mock.start());
        QVERIFY2(mock.lastError().contains(QLatin1String("/nonexistent/template.py")), qPrintable(mock.lastError()));
        QVERIFY(!mock.isRunning());
    }

    void unwrapsNestedBusValues()
    {
        const QVariant wrapped = QVariant::fromValue(QDBusVariant(QVariant::fromValue(QDBusVariant(7))));
        QCOMPARE(unwrapDBusValue(wrapped).toInt(), 7);
        QCOMPARE(unwrapDBusValue(QVariant::fromValue(QDBusObjectPath(QStringLiteral("/a/b")))).toString(),
                 QStringLiteral("/a/b"));
    }

Q_SIGNALS:
    void pinged(const QString& text);
};

QTEST_GUILESS_MAIN(tst_MockService)
#include "tst_mockservice.moc"
