#include "calllog.h"

#include "fakeplatform.h"

namespace TestSupport {

namespace {
QString describe(const FakeCall& call)
{
    QString text = call.name;
    for (const QVariant& arg : call.args) {
        if (arg.userType() == QMetaType::QObjectStar || arg.userType() == QMetaType::VoidStar)
            continue;
        text += QLatin1Char(' ') + (arg.isValid() ? arg.toString() : QStringLiteral("<invalid>"));
    }
    return text;
}
} // namespace

QStringList callsOf(const QStringList& prefixes)
{
    QStringList result;
    for (const FakeCall& call : FakePlatform::calls()) {
        for (const QString& prefix : prefixes) {
            if (call.name.startsWith(prefix)) {
                result.append(describe(call));
                break;
            }
        }
    }
    return result;
}

QStringList managerCalls()
{
    const QString prefix = QStringLiteral("BluetoothConnectionManager::");
    QStringList result;
    for (const QString& call : callsOf({prefix + QStringLiteral("connect"), prefix + QStringLiteral("disconnect")}))
        result.append(call.mid(prefix.size()));
    return result;
}

QStringList banners()
{
    QStringList result;
    for (const FakeCall& call : FakePlatform::callsTo(QStringLiteral("SimpleNotification::show"))) {
        const bool emptyExtras = call.args.value(1).toString().isEmpty() && call.args.value(3).toString().isEmpty();
        result.append(call.args.value(0).toString() + QLatin1Char('|') + call.args.value(2).toString()
                      + (emptyExtras ? QString() : QStringLiteral("|<unexpected extra arguments>")));
    }
    return result;
}

QStringList callsWithPrefix(const QString& prefix)
{
    QStringList names;
    for (const QString& name : FakePlatform::callNames()) {
        if (name.startsWith(prefix))
            names.append(name);
    }
    return names;
}

QStringList agentReplies()
{
    QStringList replies;
    for (const FakeCall& call : FakePlatform::calls()) {
        if (!call.name.startsWith(QLatin1String("NfcAgent::")) || call.name.contains(QLatin1Char('~')))
            continue;
        QString reply = call.name.mid(10);
        for (const QVariant& arg : call.args)
            reply += QLatin1Char(' ') + arg.toString();
        replies.append(reply);
    }
    return replies;
}

} // namespace TestSupport
