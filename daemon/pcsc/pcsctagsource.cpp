#include "pcsctagsource.h"

#include "pcsctagsource_p.h"
#include "pcscwatcher.h"

#include <winscard.h>

PcscTagSource::PcscTagSource(QObject* parent) : TagSource(parent), d(new PcscTagSourcePrivate)
{
}

PcscTagSource::~PcscTagSource()
{
    if (d->thread) {
        d->watcher->stop();
        d->thread->quit();
        d->thread->wait();
    }
}

bool PcscTagSource::start()
{
    if (d->thread)
        return true;
    d->thread.reset(new QThread);
    d->thread->setObjectName(QStringLiteral("pcsc"));
    d->watcher = new PcscWatcher;
    d->watcher->moveToThread(d->thread.get());
    // The watcher's signals come from its thread and are queued into this object's thread.
    connect(d->watcher, &PcscWatcher::tagRead, this, &TagSource::tagRead);
    connect(d->watcher, &PcscWatcher::tagUnreadable, this, &TagSource::tagUnreadable);
    connect(d->watcher, &PcscWatcher::readersChanged, this, [this](const QStringList& readers) {
        d->readers = readers;
        Q_EMIT readersChanged(readers);
    });
    connect(d->watcher, &PcscWatcher::serviceChanged, this, [this](bool connected) {
        d->connected = connected;
        Q_EMIT connectedChanged(connected);
    });
    connect(d->thread.get(), &QThread::started, d->watcher, &PcscWatcher::run);
    connect(d->watcher, &PcscWatcher::finished, d->thread.get(), &QThread::quit);
    connect(d->thread.get(), &QThread::finished, d->watcher, &QObject::deleteLater);
    d->thread->start();
    return true;
}

QStringList PcscTagSource::readers() const
{
    return d->readers;
}

bool PcscTagSource::isConnected() const
{
    return d->connected;
}

bool PcscTagSource::serviceReachable()
{
    SCARDCONTEXT context = 0;
    if (SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &context) != SCARD_S_SUCCESS)
        return false;
    SCardReleaseContext(context);
    return true;
}
