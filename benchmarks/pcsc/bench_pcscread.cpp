// Reading a tag through the PC/SC source, for a 48-byte message on an NTAG213 and an 868-byte message
// on an NTAG216 (and the same 868 bytes on a Type 4 tag with the usual 255-byte reads).
//
// Two measures:
//   in process - TagReader over a simulated tag: the parsing and bookkeeping alone, per read;
//   pcscd      - from the tag's arrival at a virtual reader of a private pcscd (the emulation connected
//                to vpcd) to the source's tagRead signal in the main thread. pcscd polls the virtual
//                reader for a card, so this includes the wait until pcscd notices it;
//   read       - from pcscd reporting the card (to a second client waiting for it) to tagRead: the
//                source's share, the read through pcscd and vpcd included.
// Each line also gives the APDUs per read and the bytes the tag sent against the bytes the read needed.
#include "pcsctagsource.h"
#include "privatepcscd.h"
#include "simulatedtag.h"
#include "tagimages.h"
#include "tagreader.h"
#include "virtualtag.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QLoggingCategory>
#include <QProcess>
#include <QThread>

#include <winscard.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>
#include <vector>

using namespace TagImages;

namespace {

volatile int sink;

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

struct Case
{
    const char* name;
    bool type4;
    QByteArray message;
};

std::unique_ptr<SimulatedTag> simulated(const Case& c)
{
    if (c.type4)
        return std::make_unique<SimulatedType4Tag>(type4CapabilityContainer(0xFF), type4NdefFile(c.message, 0x800));
    auto tag = std::make_unique<SimulatedType2Tag>(c.message.size() < 100 ? ntag213(c.message) : ntag216(c.message));
    tag->uid = defaultUid();
    return tag;
}

// The bytes the tag sent (data only) during one read.
int bytesSent(SimulatedTag& tag)
{
    int bytes = 0;
    if (auto* t2 = dynamic_cast<SimulatedType2Tag*>(&tag)) {
        for (const auto& range : t2->reads)
            bytes += range.second - range.first;
    } else if (auto* t4 = dynamic_cast<SimulatedType4Tag*>(&tag)) {
        for (const auto& ranges : t4->reads) {
            for (const auto& range : ranges)
                bytes += range.second - range.first;
        }
    }
    return bytes;
}

void inProcess(const Case& c)
{
    const int rounds = 2000;
    std::vector<double> times;
    int apdus = 0;
    int sent = 0;
    for (int round = 0; round < rounds; ++round) {
        auto tag = simulated(c);
        const QByteArray atr = c.type4 ? type4Atr() : ultralightAtr();
        QElapsedTimer timer;
        timer.start();
        const TagReadResult result = TagReader::read(*tag, atr);
        times.push_back(timer.nsecsElapsed() / 1000.0);
        sink = result.ndef.size();
        if (result.ndef != c.message) {
            std::fprintf(stderr, "%s: wrong message read\n", c.name);
            std::exit(1);
        }
        apdus = result.apdus;
        sent = bytesSent(*tag);
    }
    std::printf("in process  %-34s %8.1f us/read  %3d APDUs  %5d bytes sent for %d of NDEF\n", c.name, median(times),
                apdus, sent, int(c.message.size()));
}

// Runs the event loop until done() holds or the time is up.
template<typename Done> bool waitUntil(Done done, int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    while (!done() && timer.elapsed() < milliseconds)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    return done();
}

using Clock = std::chrono::steady_clock;

// Waits in a PC/SC context of its own until pcscd reports a card on the reader, and notes when.
class CardWatch
{
public:
    explicit CardWatch(const QString& reader) : m_reader(reader.toUtf8())
    {
        m_thread = std::thread([this] {
            SCARDCONTEXT context = 0;
            if (SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &context) != SCARD_S_SUCCESS)
                return;
            SCARD_READERSTATE state = {};
            state.szReader = m_reader.constData();
            state.dwCurrentState = SCARD_STATE_UNAWARE;
            const auto deadline = Clock::now() + std::chrono::seconds(10);
            while (Clock::now() < deadline) {
                if (SCardGetStatusChange(context, 100, &state, 1) == SCARD_S_SUCCESS
                    && (state.dwEventState & SCARD_STATE_PRESENT)) {
                    m_seen = Clock::now();
                    m_found = true;
                    break;
                }
                state.dwCurrentState = state.dwEventState & ~DWORD(SCARD_STATE_CHANGED);
            }
            SCardReleaseContext(context);
        });
    }
    ~CardWatch() { m_thread.join(); }
    bool found() const { return m_found; }
    Clock::time_point seen() const { return m_seen; }

private:
    QByteArray m_reader;
    std::thread m_thread;
    std::atomic<bool> m_found {false};
    Clock::time_point m_seen;
};

bool throughPcscd(const Case& c, PrivatePcscd& pcscd)
{
    const int rounds = 15;
    PcscTagSource source;
    QByteArray delivered;
    bool reported = false;
    Clock::time_point arrival, delivery;
    std::vector<double> times, readTimes;
    QObject::connect(&source, &TagSource::tagRead, [&](const QByteArray&, const QByteArray& ndef) {
        delivery = Clock::now();
        delivered = ndef;
        reported = true;
    });
    QObject::connect(&source, &TagSource::tagUnreadable, [&] { reported = true; });
    source.start();
    if (!waitUntil([&] { return source.readers().size() == PrivatePcscd::ReaderCount; }, 10000)) {
        std::fprintf(stderr, "the source does not see the virtual readers\n");
        return false;
    }

    const QByteArray image = c.message.size() < 100 ? ntag213(c.message) : ntag216(c.message);
    VirtualTag tag(c.type4 ? VirtualTag::type4(type4CapabilityContainer(0xFF), type4NdefFile(c.message, 0x800),
                                               QByteArray::fromHex("08123456"))
                           : VirtualTag::type2(image, defaultUid()));
    int apdus = 0;
    for (int round = 0; round < rounds; ++round) {
        const int before = tag.apdus().size();
        delivered.clear();
        reported = false;
        QString error;
        std::unique_ptr<CardWatch> watch(new CardWatch(pcscd.readerName(0)));
        const bool on = round == 0 ? tag.putOn(pcscd.port(0), &error) : tag.putBack();
        arrival = Clock::now();
        if (!on) {
            std::fprintf(stderr, "%s: %s\n", c.name, qPrintable(error));
            return false;
        }
        if (!waitUntil([&] { return reported; }, 10000) || delivered != c.message) {
            std::fprintf(stderr, "%s: no delivery through pcscd\n", c.name);
            return false;
        }
        const bool seen = watch->found();
        const Clock::time_point seenAt = watch->seen();
        watch.reset();
        times.push_back(std::chrono::duration<double, std::milli>(delivery - arrival).count());
        if (seen)
            readTimes.push_back(std::chrono::duration<double, std::milli>(delivery - seenAt).count());
        tag.takeOff();
        apdus = tag.apdus().size() - before;
        pcscd.waitUntilEmpty(5000);
    }
    std::sort(times.begin(), times.end());
    std::sort(readTimes.begin(), readTimes.end());
    std::printf("pcscd       %-34s arrival to tagRead %6.1f ms median (%6.1f to %6.1f); pcscd's report to tagRead "
                "%5.1f ms median (%5.1f to %5.1f); %3d APDUs\n",
                c.name, median(times), times.front(), times.back(), median(readTimes),
                readTimes.empty() ? 0 : readTimes.front(), readTimes.empty() ? 0 : readTimes.back(), apdus);
    return true;
}

} // namespace

// The UI agent's side, as small as it gets: notes when DataDeliveryRequested arrives and answers every
// call at once with an empty reply (a grant).
class TimingAgent : public QDBusVirtualObject
{
public:
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        if (message.member() == QLatin1String("DataDeliveryRequested")) {
            delivered = Clock::now();
            data = message.arguments().value(2).toByteArray();
            ++deliveries;
        }
        connection.send(message.createReply());
        return true;
    }
    QString introspect(const QString&) const override { return QString(); }

    Clock::time_point delivered;
    QByteArray data;
    int deliveries = 0;
};

// The same touches through nfcui-daemon --pcsc, to DataDeliveryRequested reaching an agent on the
// private system bus. Needs scripts/with-private-buses.
bool throughDaemon(const std::vector<Case>& cases, PrivatePcscd& pcscd)
{
    QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected()) {
        std::fprintf(stderr, "no system bus: run under scripts/with-private-buses for the daemon's figures\n");
        return false;
    }
    QProcess daemon;
    daemon.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("*.info=false"));
    daemon.setProcessEnvironment(environment);
    daemon.start(QStringLiteral(NFCUI_DAEMON_PROGRAM), {QStringLiteral("--pcsc")});
    if (!waitUntil([&] { return bus.interface()->isServiceRegistered(QStringLiteral("com.orvan.nfc")).value(); },
                   10000)) {
        std::fprintf(stderr, "nfcui-daemon did not start\n");
        return false;
    }
    TimingAgent agent;
    bus.registerVirtualObject(QStringLiteral("/bench/agent"), &agent);
    QDBusMessage registration =
        QDBusMessage::createMethodCall(QStringLiteral("com.orvan.nfc"), QStringLiteral("/com/orvan/nfc/adapter0"),
                                       QStringLiteral("com.orvan.nfc.Adapter"), QStringLiteral("RegisterUIAgent"));
    registration.setArguments({QVariant::fromValue(QDBusObjectPath(QStringLiteral("/bench/agent")))});
    if (bus.call(registration).type() != QDBusMessage::ReplyMessage) {
        std::fprintf(stderr, "cannot register the agent\n");
        return false;
    }
    QThread::msleep(1500); // the daemon's source finds the readers

    for (const Case& c : cases) {
        const QByteArray image = c.message.size() < 100 ? ntag213(c.message) : ntag216(c.message);
        VirtualTag tag(c.type4 ? VirtualTag::type4(type4CapabilityContainer(0xFF), type4NdefFile(c.message, 0x800),
                                                   QByteArray::fromHex("08123456"))
                               : VirtualTag::type2(image, defaultUid()));
        std::vector<double> times, readTimes;
        for (int round = 0; round < 15; ++round) {
            const int before = agent.deliveries;
            std::unique_ptr<CardWatch> watch(new CardWatch(pcscd.readerName(0)));
            QString error;
            const bool on = round == 0 ? tag.putOn(pcscd.port(0), &error) : tag.putBack();
            const Clock::time_point arrival = Clock::now();
            if (!on || !waitUntil([&] { return agent.deliveries > before; }, 10000) || agent.data != c.message) {
                std::fprintf(stderr, "%s: no delivery through the daemon %s\n", c.name, qPrintable(error));
                return false;
            }
            const bool seen = watch->found();
            const Clock::time_point seenAt = watch->seen();
            watch.reset();
            times.push_back(std::chrono::duration<double, std::milli>(agent.delivered - arrival).count());
            if (seen)
                readTimes.push_back(std::chrono::duration<double, std::milli>(agent.delivered - seenAt).count());
            tag.takeOff();
            pcscd.waitUntilEmpty(5000);
        }
        std::sort(times.begin(), times.end());
        std::sort(readTimes.begin(), readTimes.end());
        std::printf("daemon      %-34s arrival to DataDeliveryRequested %6.1f ms median (%6.1f to %6.1f); pcscd's "
                    "report to DataDeliveryRequested %5.1f ms median (%5.1f to %5.1f)\n",
                    c.name, median(times), times.front(), times.back(), median(readTimes),
                    readTimes.empty() ? 0 : readTimes.front(), readTimes.empty() ? 0 : readTimes.back());
    }
    daemon.terminate();
    daemon.waitForFinished(5000);
    return true;
}

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (qEnvironmentVariableIsEmpty("QT_LOGGING_RULES"))
        QLoggingCategory::setFilterRules(QStringLiteral("nfcui.daemon.pcsc.info=false"));
    const std::vector<Case> cases = {
        {"NTAG213, 48-byte message", false, messageOfSize(48)},
        {"NTAG216, 868-byte message", false, messageOfSize(868)},
        {"Type 4, 868-byte message", true, messageOfSize(868)},
    };
    for (const Case& c : cases)
        inProcess(c);

    PrivatePcscd pcscd;
    QString error;
    if (!pcscd.start(&error)) {
        std::fprintf(stderr, "cannot start a private pcscd: %s\n", qPrintable(error));
        return 1;
    }
    for (const Case& c : cases) {
        if (!throughPcscd(c, pcscd))
            return 1;
    }
    return throughDaemon(cases, pcscd) ? 0 : 1;
}
