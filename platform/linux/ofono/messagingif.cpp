// Text messages. sendSMS sends through MessageManager.SendMessage of the first modem that has text
// messages, without waiting for the answer (its failure is logged). showSmsEditor opens an sms: URI,
// with the recipients separated by commas and the body as its percent-encoded "body" query, in the
// desktop's sms: application.
#include "messagingif.h"
#include "linuxlogging.h"
#include "ofonomessagemanagerproxy.h"
#include "ofonotypes.h"

#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QUrl>

class MessagingIfPrivate
{
};

MessagingIf::MessagingIf(const QString&, QObject* parent) : QObject(parent), d(new MessagingIfPrivate)
{
}

MessagingIf::~MessagingIf()
{
    delete d;
}

bool MessagingIf::sendSMS(const QString& number, const QString& body, bool)
{
    const OfonoObjectList modems = Ofono::modems();
    const OfonoObject* modem = Ofono::modemFor(modems, Ofono::messageManagerInterface);
    if (!modem) {
        qCWarning(lcOfono, "MessagingIf: no modem to send text messages; the message to %s is not sent",
                  qUtf8Printable(number));
        return false;
    }

    const QString path = modem->path.path();
    qCDebug(lcOfono, "MessagingIf: sending a message to %s on %s", qUtf8Printable(number), qUtf8Printable(path));
    OfonoMessageManagerProxy messages(Ofono::service, path, QDBusConnection::systemBus());
    auto* watcher = new QDBusPendingCallWatcher(messages.SendMessage(number, body));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [number](QDBusPendingCallWatcher* done) {
        const QDBusPendingReply<QDBusObjectPath> reply = *done;
        if (reply.isError())
            qCWarning(lcOfono, "MessagingIf: the message to %s was not sent: %s: %s", qUtf8Printable(number),
                      qUtf8Printable(reply.error().name()), qUtf8Printable(reply.error().message()));
        done->deleteLater();
    });
    return true;
}

bool MessagingIf::showSmsEditor(const QStringList& recipients, const QString& body, const QString&)
{
    QString uri = QStringLiteral("sms:") + recipients.join(QLatin1Char(','));
    if (!body.isEmpty())
        uri += QStringLiteral("?body=") + QString::fromLatin1(QUrl::toPercentEncoding(body));
    return Ofono::openWithSchemeHandler(uri);
}
