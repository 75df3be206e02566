#include "testsupport.h"

#include <QCoreApplication>
#include <QTranslator>

namespace TestSupport {

void deleteLaterNow()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

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

bool loadTranslations()
{
    static QTranslator* translator = nullptr;
    if (translator)
        return true;
    QTranslator* candidate = new QTranslator(QCoreApplication::instance());
    if (!candidate->load(QStringLiteral(NFCUI_TRANSLATIONS_QM))) {
        delete candidate;
        return false;
    }
    QCoreApplication::installTranslator(candidate);
    translator = candidate;
    return true;
}

QVariantMap bluetoothDevice(const QString& address, const QString& name, bool paired, bool connectable,
                            bool audioConnected)
{
    return QVariantMap{{QStringLiteral("Address"), address},
                       {QStringLiteral("Name"), name},
                       {QStringLiteral("Paired"), paired},
                       {QStringLiteral("Connectable"), connectable},
                       {QStringLiteral("AudioConnected"), audioConnected}};
}

void setBluetoothDevices(const QList<QVariantMap>& devices)
{
    QVariantList list;
    for (const QVariantMap& device : devices)
        list.append(device);
    FakePlatform::set(QStringLiteral("BluetoothAdapter/devices"), list);
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
