#include "pcscwatcher.h"

#include "apdu.h"
#include "pcsccard.h"
#include "pcsclogging.h"
#include "tagreader.h"

#include <QMutexLocker>

#include <algorithm>

namespace {

// How long to wait before trying pcscd again when it is not there.
constexpr int RetryInterval = 500;
// A tag that was on a reader when pcscd went away and is found there again this soon after pcscd is back
// lay there all along (pcscd and the reader may take a moment to see it again): it is not a new touch.
constexpr qint64 RestartGrace = 3000;
// SCardGetStatusChange wakes up this often even without a change, so that a stop() that came just
// before it started waiting is seen.
constexpr DWORD PollTimeout = 1000;

const char pnpNotification[] = "\\\\?PnP?\\Notification";

QString uidText(const QByteArray& uid)
{
    return uid.isEmpty() ? QStringLiteral("(UID unknown)") : Apdu::hex(uid);
}

bool serviceLost(LONG rv)
{
    return rv == SCARD_E_NO_SERVICE || rv == SCARD_E_SERVICE_STOPPED || rv == SCARD_F_COMM_ERROR
        || rv == SCARD_E_INVALID_HANDLE || rv == SCARD_F_INTERNAL_ERROR;
}

} // namespace

PcscWatcher::PcscWatcher(QObject* parent) : QObject(parent)
{
}

PcscWatcher::~PcscWatcher() = default;

void PcscWatcher::stop()
{
    QMutexLocker locker(&m_mutex);
    m_stopping = true;
    if (m_hasContext)
        SCardCancel(m_context);
    m_wake.wakeAll();
}

void PcscWatcher::sleep(int milliseconds)
{
    QMutexLocker locker(&m_mutex);
    if (!m_stopping)
        m_wake.wait(&m_mutex, milliseconds);
}

void PcscWatcher::run()
{
    while (!m_stopping) {
        if (!m_hasContext && !connectToService()) {
            sleep(RetryInterval);
            continue;
        }
        if (m_refresh && !refreshReaders())
            continue;
        watchOnce();
    }
    if (m_hasContext) {
        QMutexLocker locker(&m_mutex);
        SCardReleaseContext(m_context);
        m_hasContext = false;
    }
    Q_EMIT finished();
}

bool PcscWatcher::connectToService()
{
    SCARDCONTEXT context = 0;
    const LONG rv = SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &context);
    if (rv != SCARD_S_SUCCESS) {
        if (!m_waitingLogged) {
            qCWarning(lcPcsc).noquote()
                << QStringLiteral("pcscd is not reachable (%1); waiting for it to start").arg(pcscErrorText(rv));
            m_waitingLogged = true;
        }
        return false;
    }
    {
        QMutexLocker locker(&m_mutex);
        m_context = context;
        m_hasContext = true;
    }
    m_waitingLogged = false;
    m_refresh = true;
    m_pnpState = SCARD_STATE_UNAWARE;
    m_connectedTimer.start();
    qCInfo(lcPcsc) << "Connected to pcscd";
    Q_EMIT serviceChanged(true);
    return true;
}

void PcscWatcher::loseService(const QString& reason)
{
    if (m_stopping)
        return;
    qCWarning(lcPcsc).noquote() << QStringLiteral("Lost pcscd (%1); waiting for it to come back").arg(reason);
    m_waitingLogged = true; // the line above said it: no second one while it stays away
    {
        QMutexLocker locker(&m_mutex);
        SCardReleaseContext(m_context);
        m_hasContext = false;
    }
    // A tag that lies on its reader through the restart is the same presence: remember it, so that it
    // is not delivered a second time.
    m_uidsBeforeRestart.clear();
    for (const Reader& reader : m_readers) {
        if (reader.handled && !reader.lastUid.isEmpty())
            m_uidsBeforeRestart.insert(reader.name, reader.lastUid);
    }
    m_readers.clear();
    Q_EMIT readersChanged(QStringList());
    Q_EMIT serviceChanged(false);
    sleep(RetryInterval);
}

bool PcscWatcher::refreshReaders()
{
    LPSTR list = nullptr;
    DWORD length = SCARD_AUTOALLOCATE;
    const LONG rv = SCardListReaders(m_context, nullptr, reinterpret_cast<LPSTR>(&list), &length);
    QStringList names;
    if (rv == SCARD_S_SUCCESS) {
        for (const char* name = list; name && *name; name += qstrlen(name) + 1)
            names << QString::fromUtf8(name);
        SCardFreeMemory(m_context, list);
    } else if (rv != SCARD_E_NO_READERS_AVAILABLE) {
        loseService(pcscErrorText(rv));
        return false;
    }

    std::vector<Reader> readers;
    for (const QString& name : names) {
        auto existing =
            std::find_if(m_readers.begin(), m_readers.end(), [&](const Reader& reader) { return reader.name == name; });
        if (existing != m_readers.end()) {
            readers.push_back(*existing);
            continue;
        }
        Reader reader;
        reader.name = name;
        reader.nameBytes = name.toUtf8();
        reader.uidBeforeRestart = m_uidsBeforeRestart.take(name);
        readers.push_back(reader);
        qCInfo(lcPcsc).noquote() << QStringLiteral("Reader added: %1").arg(name);
    }
    for (const Reader& reader : m_readers) {
        if (!names.contains(reader.name))
            qCInfo(lcPcsc).noquote() << QStringLiteral("Reader removed: %1").arg(reader.name);
    }
    const bool changed = names.size() != int(m_readers.size())
        || !std::equal(readers.begin(), readers.end(), m_readers.begin(), m_readers.end(),
                       [](const Reader& a, const Reader& b) { return a.name == b.name; });
    m_readers = std::move(readers);
    m_refresh = false;
    if (changed)
        Q_EMIT readersChanged(names);
    return true;
}

void PcscWatcher::watchOnce()
{
    std::vector<SCARD_READERSTATE> states(m_readers.size() + 1);
    for (size_t i = 0; i < m_readers.size(); ++i) {
        states[i] = SCARD_READERSTATE();
        states[i].szReader = m_readers[i].nameBytes.constData();
        states[i].dwCurrentState = m_readers[i].state;
    }
    SCARD_READERSTATE& pnp = states.back();
    pnp = SCARD_READERSTATE();
    pnp.szReader = pnpNotification;
    pnp.dwCurrentState = m_pnpState;

    const LONG rv = SCardGetStatusChange(m_context, PollTimeout, states.data(), DWORD(states.size()));
    if (rv == SCARD_E_TIMEOUT || rv == SCARD_E_CANCELLED)
        return;
    if (rv == SCARD_E_UNKNOWN_READER) { // a reader went away between listing and waiting
        m_refresh = true;
        return;
    }
    if (rv != SCARD_S_SUCCESS) {
        loseService(pcscErrorText(rv));
        return;
    }

    if (pnp.dwEventState & SCARD_STATE_CHANGED)
        m_refresh = true;
    m_pnpState = pnp.dwEventState & ~DWORD(SCARD_STATE_CHANGED);

    for (size_t i = 0; i < m_readers.size() && !m_stopping; ++i) {
        Reader& reader = m_readers[i];
        const DWORD event = states[i].dwEventState;
        if (event & SCARD_STATE_CHANGED) {
            qCDebug(lcPcsc).noquote() << QStringLiteral("%1: state %2, event %3")
                                             .arg(reader.name)
                                             .arg(event & 0xFFFF, 4, 16, QLatin1Char('0'))
                                             .arg(event >> 16);
        }
        reader.state = event & ~DWORD(SCARD_STATE_CHANGED);
        if (event & (SCARD_STATE_UNKNOWN | SCARD_STATE_IGNORE)) {
            m_refresh = true;
            continue;
        }
        if (event & SCARD_STATE_PRESENT) {
            const QByteArray atr(reinterpret_cast<const char*>(states[i].rgbAtr), int(states[i].cbAtr));
            if (!reader.handled || reader.handledEvents != (event >> 16))
                cardPresent(reader, event, atr);
        } else if (event & (SCARD_STATE_EMPTY | SCARD_STATE_UNAVAILABLE)) {
            reader.handled = false;
            reader.sharingLogged = false;
            reader.lastUid.clear();
        }
    }
}

void PcscWatcher::cardPresent(Reader& reader, DWORD eventState, const QByteArray& atr)
{
    auto done = [&] {
        reader.handled = true;
        reader.handledEvents = eventState >> 16;
    };
    if (eventState & SCARD_STATE_MUTE) {
        qCWarning(lcPcsc).noquote() << QStringLiteral("%1: the tag does not answer (no ATR)").arg(reader.name);
        done();
        Q_EMIT tagUnreadable(QByteArray());
        return;
    }

    SCARDHANDLE handle = 0;
    DWORD protocol = 0;
    const LONG rv = SCardConnect(m_context, reader.nameBytes.constData(), SCARD_SHARE_SHARED,
                                 SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1, &handle, &protocol);
    if (rv == SCARD_E_SHARING_VIOLATION) {
        // Another program holds the reader; pcscd tells when it lets go, and the tag is read then.
        if (!reader.sharingLogged) {
            qCWarning(lcPcsc).noquote()
                << QStringLiteral("%1: held by another program; its tag is read once it is released").arg(reader.name);
            reader.sharingLogged = true;
        }
        return;
    }
    if (rv == SCARD_W_REMOVED_CARD || rv == SCARD_E_NO_SMARTCARD) {
        qCInfo(lcPcsc).noquote() << QStringLiteral("%1: the tag went away before it could be read").arg(reader.name);
        done();
        return;
    }
    if (rv == SCARD_E_UNKNOWN_READER || rv == SCARD_E_READER_UNAVAILABLE) {
        m_refresh = true;
        return;
    }
    if (rv != SCARD_S_SUCCESS) {
        if (serviceLost(rv)) {
            loseService(pcscErrorText(rv));
            return;
        }
        qCWarning(lcPcsc).noquote()
            << QStringLiteral("%1: cannot connect to the tag: %2").arg(reader.name, pcscErrorText(rv));
        done();
        Q_EMIT tagUnreadable(QByteArray());
        return;
    }

    TagReadResult result;
    {
        PcscCard card(handle, protocol, reader.name, &m_stopping);
        if (TagReader::readUid(card, result)) {
            if (!reader.uidBeforeRestart.isEmpty() && result.uid == reader.uidBeforeRestart
                && m_connectedTimer.elapsed() < RestartGrace) {
                qCInfo(lcPcsc).noquote()
                    << QStringLiteral("%1: tag %2 has stayed on the reader while pcscd restarted; not delivered again")
                           .arg(reader.name, uidText(result.uid));
                reader.lastUid = result.uid;
                reader.uidBeforeRestart.clear();
                done();
                return;
            }
            reader.uidBeforeRestart.clear();
            TagReader::readContent(card, atr, result);
        }
    }
    reader.lastUid = result.uid;
    done();
    if (m_stopping) {
        // The read was cut short by the stop, not by the tag: nothing to report.
        qCInfo(lcPcsc).noquote() << QStringLiteral("%1: the read was stopped").arg(reader.name);
        return;
    }
    report(reader, result);
}

void PcscWatcher::report(const Reader& reader, const TagReadResult& result)
{
    switch (result.outcome) {
    case TagReadResult::Read:
        qCInfo(lcPcsc).noquote() << QStringLiteral("%1: tag %2 read: %3 bytes of NDEF in %4 APDUs")
                                        .arg(reader.name, uidText(result.uid))
                                        .arg(result.ndef.size())
                                        .arg(result.apdus);
        Q_EMIT tagRead(result.uid, result.ndef);
        break;
    case TagReadResult::NotNdef:
        qCInfo(lcPcsc).noquote() << QStringLiteral("%1: tag %2 holds no NDEF message: %3")
                                        .arg(reader.name, uidText(result.uid), result.reason);
        Q_EMIT tagUnreadable(result.uid);
        break;
    case TagReadResult::Failed:
        qCWarning(lcPcsc).noquote()
            << QStringLiteral("%1: reading tag %2 failed: %3").arg(reader.name, uidText(result.uid), result.reason);
        Q_EMIT tagUnreadable(result.uid);
        break;
    }
}
