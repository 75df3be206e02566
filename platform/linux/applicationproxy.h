#ifndef NFCUI_APPLICATIONPROXY_H
#define NFCUI_APPLICATIONPROXY_H

#include <QCoreApplication>
#include <QDBusConnection>
#include <QLatin1String>
#include <QPointer>

// The one proxy of a generated proxy class for the life of the application, on the given connection
// (made again should the connection change). A proxy made for each call would add a match rule, a
// blocking GetNameOwner round trip and the match rule's removal to every call, and keep the bus busy
// just when the answer to a tag's dialog is sent. Calls through it go to the service's well-known
// name, so a service that restarts is reached without a new proxy. One service per proxy class, from
// the main thread.
template <typename Proxy>
Proxy* applicationProxy(const QDBusConnection& bus, const char* service, const char* path)
{
    static QPointer<Proxy> proxy;
    if (!proxy || proxy->connection().name() != bus.name()) {
        delete proxy.data();
        proxy = new Proxy(QLatin1String(service), QLatin1String(path), bus, QCoreApplication::instance());
    }
    return proxy.data();
}

#endif
