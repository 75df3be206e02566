#include "testsupport.h"

#include <QCoreApplication>
#include <QTranslator>

namespace TestSupport {

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
