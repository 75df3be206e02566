#ifndef NFCUI_CALLLOG_H
#define NFCUI_CALLLOG_H

#include <QStringList>
#include <QtTest>

// Compares two lists of call descriptions as text, so that a failure shows both lists whole.
#define COMPARE_CALLS(actual, expected)                                                                              \
    do {                                                                                                             \
        if (!QTest::qCompare(QStringList(actual).join(QLatin1Char('\n')),                                            \
                             QStringList(expected).join(QLatin1Char('\n')), #actual, #expected, __FILE__, __LINE__)) \
            return;                                                                                                  \
    } while (false)

// The fake platform's call log as the suites read it.
namespace TestSupport {

// The recorded calls whose names start with one of the prefixes, in order, as "Class::method arg1 arg2"
// (pointer arguments left out, invalid ones as "<invalid>").
QStringList callsOf(const QStringList& prefixes);
// The connection managers' connect and disconnect calls as "connect <address>", in order.
QStringList managerCalls();
// Banners as "event type|text", in order; the second and fourth arguments of SimpleNotification::show,
// which the plugin always leaves empty, are checked on the way.
QStringList banners();
// The names of the recorded calls that start with the prefix, in order ("NfcAgent::" for the replies).
QStringList callsWithPrefix(const QString& prefix);
// The replies the fake agent sent, as "method arg1 arg2" (its destruction is not a reply).
QStringList agentReplies();

} // namespace TestSupport

#endif
