// Cellular calls: VoiceCallManager.Dial(number, "default") on the first modem that has voice calls.
// The call is not waited for; its failure is logged. Without such a modem the number goes to the
// desktop's tel: application.
#include "calluiserviceapi.h"
#include "linuxlogging.h"
#include "ofonotypes.h"
#include "ofonovoicecallmanagerproxy.h"

#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace CallUi {

class CallUiServiceApiPrivate
{
};

CallUiServiceApi::CallUiServiceApi(QObject* parent) : QObject(parent), d(new CallUiServiceApiPrivate)
{
}

CallUiServiceApi::~CallUiServiceApi()
{
    delete d;
}

bool CallUiServiceApi::RequestCellularCall(const QString& number)
{
    const OfonoObjectList modems = Ofono::modems();
    const OfonoObject* modem = Ofono::modemFor(modems, Ofono::voiceCallManagerInterface);
    if (!modem)
        return Ofono::openWithSchemeHandler(QStringLiteral("tel:") + number);

    const QString path = modem->path.path();
    qCDebug(lcOfono, "CallUiServiceApi: dialling %s on %s", qUtf8Printable(number), qUtf8Printable(path));
    OfonoVoiceCallManagerProxy calls(Ofono::service, path, QDBusConnection::systemBus());
    auto* watcher = new QDBusPendingCallWatcher(calls.Dial(number, QStringLiteral("default")));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [number](QDBusPendingCallWatcher* done) {
        const QDBusPendingReply<QDBusObjectPath> reply = *done;
        if (reply.isError())
            qCWarning(lcOfono, "CallUiServiceApi: calling %s failed: %s: %s", qUtf8Printable(number),
                      qUtf8Printable(reply.error().name()), qUtf8Printable(reply.error().message()));
        else
            qCDebug(lcOfono, "CallUiServiceApi: call %s", qUtf8Printable(reply.value().path()));
        done->deleteLater();
    });
    return true;
}

} // namespace CallUi
