#include "pcsccard.h"
#include "pcsctagsource.h"
#include "privatepcscd.h"
#include "tagreader.h"
#include "tagimages.h"
#include "virtualtag.h"

#include <QMutex>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QtTest>

#include <winscard.h>

#include <atomic>
#include <memory>

using namespace TagImages;

namespace {

QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

// Counts the log lines that match a pattern while it lives, passing every line on to the test's own
// handler. Several can count at once; the lines come from the watcher's thread too.
class LogCounter
{
public:
    explicit LogCounter(const QString& pattern) : m_pattern(pattern)
    {
        QMutexLocker lock(&s_mutex);
        if (s_counters.isEmpty())
            s_previous = qInstallMessageHandler(handler);
        s_counters.append(this);
    }
    ~LogCounter()
    {
        QMutexLocker lock(&s_mutex);
        s_counters.removeOne(this);
        if (s_counters.isEmpty())
            qInstallMessageHandler(s_previous);
    }
    int count() const { return m_count; }

private:
    Q_DISABLE_COPY(LogCounter)
    static void handler(QtMsgType type, const QMessageLogContext& context, const QString& message)
    {
        QtMessageHandler previous = nullptr;
        {
            QMutexLocker lock(&s_mutex);
            for (LogCounter* counter : qAsConst(s_counters)) {
                if (counter->m_pattern.match(message).hasMatch())
                    ++counter->m_count;
            }
            previous = s_previous;
        }
        previous(type, context, message);
    }
    const QRegularExpression m_pattern;
    std::atomic<int> m_count {0};
    static QMutex s_mutex;
    static QList<LogCounter*> s_counters;
    static QtMessageHandler s_previous;
};

QMutex LogCounter::s_mutex;
QList<LogCounter*> LogCounter::s_counters;
QtMessageHandler LogCounter::s_previous = nullptr;

} // namespace

class tst_PcscTagSource : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void deliversAUriTag();
    void deliversAMultiRecordTag();
    void deliversAnNtag216MessageOver255Bytes();
    void deliversAType4TagReadInSeveralChunks();
    void deliversAnEmptyNdefAsAnEmptyMessage();
    void reportsATagWithoutNdefAsUnreadable();
    void reportsATagWithALyingLengthAsUnreadable();
    void reportsATagRemovedHalfwayAndReadsItWhenPutBack();
    void deliversATagLeftOnTheReaderOnce();
    void deliversATagAgainWhenItIsPutBack();
    void readsTwoReadersAtOnce();
    void watchesTheReadersOfPcscd();
    void waitsForPcscdAbsentAtStartAndLogsItOnce();
    void reconnectsAfterPcscdRestartsWithoutDeliveringATagTwice();
    void readsATagOnceAnotherProgramReleasesItsReader();
    void stopsWhenDestroyed();
    void aCardOfAReaderBeingStoppedSendsNoMoreCommands();

private:
    // Starts a source and waits until it watches both virtual readers.
    void startSource();
    // Puts a tag on a reader (slot) and waits for the source's report.
    void touch(VirtualTag& tag, int slot = 0);

    PrivatePcscd m_pcscd;
    std::unique_ptr<PcscTagSource> m_source;
    std::unique_ptr<QSignalSpy> m_read;
    std::unique_ptr<QSignalSpy> m_unreadable;
};

void tst_PcscTagSource::initTestCase()
{
    QString error;
    QVERIFY2(m_pcscd.start(&error), qPrintable(error));
}

void tst_PcscTagSource::init()
{
    QString error;
    QVERIFY2(m_pcscd.start(&error), qPrintable(error));
}

void tst_PcscTagSource::cleanup()
{
    m_read.reset();
    m_unreadable.reset();
    m_source.reset();
    // The next test starts with empty readers, as pcscd sees them.
    QVERIFY(m_pcscd.waitUntilEmpty(5000));
}

void tst_PcscTagSource::startSource()
{
    m_source.reset(new PcscTagSource);
    m_read.reset(new QSignalSpy(m_source.get(), &TagSource::tagRead));
    m_unreadable.reset(new QSignalSpy(m_source.get(), &TagSource::tagUnreadable));
    QSignalSpy readers(m_source.get(), &PcscTagSource::readersChanged);
    QVERIFY(m_source->start());
    QTRY_COMPARE_WITH_TIMEOUT(m_source->readers().size(), PrivatePcscd::ReaderCount, 10000);
}

void tst_PcscTagSource::touch(VirtualTag& tag, int slot)
{
    QString error;
    QVERIFY2(tag.putOn(m_pcscd.port(slot), &error), qPrintable(error));
}

void tst_PcscTagSource::deliversAUriTag()
{
    startSource();
    const QByteArray message = uriMessage("example.com/pcsc");
    VirtualTag tag(VirtualTag::type2(ntag213(message), defaultUid()));
    touch(tag);

    QTRY_COMPARE_WITH_TIMEOUT(m_read->count(), 1, 10000);
    QCOMPARE(m_read->at(0).at(0).toByteArray(), defaultUid());
    QCOMPARE(m_read->at(0).at(1).toByteArray().toHex(), message.toHex());
    QCOMPARE(m_unreadable->count(), 0);
}

void tst_PcscTagSource::deliversAMultiRecordTag()
{
    startSource();
    const QByteArray message = uriRecord(0x04, "example.com", true, false) + textRecord("en", "second", false, false)
        + textRecord("fr", "troisieme", false, true);
    VirtualTag tag(VirtualTag::type2(ultralight(message), defaultUid()));
    touch(tag);

    QTRY_COMPARE_WITH_TIMEOUT(m_read->count(), 1, 10000);
    QCOMPARE(m_read->at(0).at(1).toByteArray().toHex(), message.toHex());
}

void tst_PcscTagSource::deliversAnNtag216MessageOver255Bytes()
{
    startSource();
    const QByteArray message = messageOfSize(868);
    VirtualTag tag(VirtualTag::type2(ntag216(message), defaultUid()));
    touch(tag);

    QTRY_COMPARE_WITH_TIMEOUT(m_read->count(), 1, 10000);
    QCOMPARE(m_read->at(0).at(1).toByteArray().toHex(), message.toHex());
    // The UID, then 16 bytes per read from page 3 to the end of the 872-byte data area (byte 888): 55 reads.
    QCOMPARE(tag.apdus().size(), 1 + 55);
}

void tst_PcscTagSource::deliversAType4TagReadInSeveralChunks()
{
    startSource();
    const QByteArray message = messageOfSize(300);
    VirtualTag tag(VirtualTag::type4(type4CapabilityContainer(0x40), type4NdefFile(message, 0x400), hex("08123456")));
    touch(tag);

    QTRY_COMPARE_WITH_TIMEOUT(m_read->count(), 1, 10000);
    QCOMPARE(m_read->at(0).at(0).toByteArray(), hex("08123456"));
    QCOMPARE(m_read->at(0).at(1).toByteArray().toHex(), message.toHex());
    // UID, SELECT application, SELECT E103, READ E103, SELECT E104, and 302 bytes in reads of 64.
    const QStringList apdus = tag.apdus();
    QCOMPARE(apdus.size(), 5 + 5);
    for (const QString& apdu : apdus.mid(5))
        QVERIFY2(apdu.startsWith(QLatin1String("> 00B0")), qPrintable(apdu));
}

void tst_PcscTagSource::deliversAnEmptyNdefAsAnEmptyMessage()
{
    startSource();
    VirtualTag tag(VirtualTag::type2(ntag213(QByteArray()), defaultUid()));
    touch(tag);

    QTRY_COMPARE_WITH_TIMEOUT(m_read->count(), 1, 10000);
    QCOMPARE(m_read->at(0).at(1).toByteArray(), QByteArray());
    QCOMPARE(m_unreadable->count(), 0);
}

void tst_PcscTagSource::reportsATagWithoutNdefAsUnreadable()
{
    startSource();
    VirtualTag tag(VirtualTag::type2(type2Image(48, ndefTlv(uriMessage("x.org")), hex("00000000")), defaultUid()));
    touch(tag);

    QTRY_COMPARE_WITH_TIMEOUT(m_unreadable->count(), 1, 10000);
    QCOMPARE(m_unreadable->at(0).at(0).toByteArray(), defaultUid());
    QCOMPARE(m_read->count(), 0);
}

void tst_PcscTagSource::reportsATagWithALyingLengthAsUnreadable()
{
    startSource();
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("reading tag .* failed: TLV 03 claims 200")));
    VirtualTag tag(VirtualTag::type2(type2Image(48, hex("03C8") + uriMessage("example.com")), defaultUid()));
    touch(tag);

    QTRY_COMPARE_WITH_TIMEOUT(m_unreadable->count(), 1, 10000);
    QCOMPARE(m_read->count(), 0);
}

void tst_PcscTagSource::reportsATagRemovedHalfwayAndReadsItWhenPutBack()
{
    startSource();
    const QByteArray message = messageOfSize(600);
    QJsonObject card = VirtualTag::type2(ntag216(message), defaultUid());
    card.insert(QStringLiteral("removeAfter"), 5);
    QTest::ignoreMessage(QtWarningMsg,
                         QRegularExpression(QStringLiteral("reading tag 04A1B2C3D4E5F6 failed: reading page")));
    VirtualTag tag(card);
    touch(tag);

    QTRY_COMPARE_WITH_TIMEOUT(m_unreadable->count(), 1, 10000);
    QCOMPARE(m_read->count(), 0);

    QVERIFY(m_pcscd.waitUntilEmpty(5000));
    QVERIFY(tag.putBack());
    QTRY_COMPARE_WITH_TIMEOUT(m_read->count(), 1, 10000);
    QCOMPARE(m_read->at(0).at(1).toByteArray().toHex(), message.toHex());
}

void tst_PcscTagSource::deliversATagLeftOnTheReaderOnce()
{
    startSource();
    VirtualTag tag(VirtualTag::type2(ultralight(uriMessage("example.com")), defaultUid()));
    touch(tag);

    QTRY_COMPARE_WITH_TIMEOUT(m_read->count(), 1, 10000);
    QTest::qWait(2500); // several of pcscd's polls and the source's own wake-ups
    QCOMPARE(m_read->count(), 1);
    QCOMPARE(m_unreadable->count(), 0);
}

void tst_PcscTagSource::deliversATagAgainWhenItIsPutBack()
{
    startSource();
    VirtualTag tag(VirtualTag::type2(ultralight(uriMessage("example.com")), defaultUid()));
    touch(tag);
    QTRY_COMPARE_WITH_TIMEOUT(m_read->count(), 1, 10000);

    QVERIFY(tag.takeOff());
    QVERIFY(m_pcscd.waitUntilEmpty(5000));
    QVERIFY(tag.putBack());

    QTRY_COMPARE_WITH_TIMEOUT(m_read->count(), 2, 10000);
}

void tst_PcscTagSource::readsTwoReadersAtOnce()
{
    startSource();
    const QByteArray first = uriMessage("example.com/first");
    const QByteArray second = uriMessage("example.com/second");
    VirtualTag a(VirtualTag::type2(ntag213(first), hex("04000000000001")));
    VirtualTag b(VirtualTag::type4(type4CapabilityContainer(0xFF), type4NdefFile(second), hex("08000002")));
    touch(a, 0);
    touch(b, 1);

    QTRY_COMPARE_WITH_TIMEOUT(m_read->count(), 2, 10000);
    QMap<QByteArray, QByteArray> delivered;
    for (const QList<QVariant>& arguments : qAsConst(*m_read))
        delivered.insert(arguments.at(0).toByteArray(), arguments.at(1).toByteArray());
    QCOMPARE(delivered.value(hex("04000000000001")), first);
    QCOMPARE(delivered.value(hex("08000002")), second);
}

void tst_PcscTagSource::watchesTheReadersOfPcscd()
{
    startSource();
    QCOMPARE(m_source->readers(), (QStringList {m_pcscd.readerName(0), m_pcscd.readerName(1)}));
    QVERIFY(m_source->isConnected());
}

void tst_PcscTagSource::waitsForPcscdAbsentAtStartAndLogsItOnce()
{
    m_pcscd.stop();
    LogCounter waiting(QStringLiteral("pcscd is not reachable"));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("pcscd is not reachable .*waiting for it")));
    m_source.reset(new PcscTagSource);
    m_read.reset(new QSignalSpy(m_source.get(), &TagSource::tagRead));
    QVERIFY(m_source->start());
    QTest::qWait(2000); // several attempts to reach it
    QVERIFY(!m_source->isConnected());

    QString error;
    QVERIFY2(m_pcscd.start(&error), qPrintable(error));
    QTRY_COMPARE_WITH_TIMEOUT(m_source->readers().size(), PrivatePcscd::ReaderCount, 10000);
    QVERIFY(m_source->isConnected());
    QCOMPARE(waiting.count(), 1);

    VirtualTag tag(VirtualTag::type2(ultralight(uriMessage("example.com")), defaultUid()));
    touch(tag);
    QTRY_COMPARE_WITH_TIMEOUT(m_read->count(), 1, 10000);
}

void tst_PcscTagSource::reconnectsAfterPcscdRestartsWithoutDeliveringATagTwice()
{
    startSource();
    VirtualTag tag(VirtualTag::type2(ultralight(uriMessage("example.com")), defaultUid()));
    touch(tag);
    QTRY_COMPARE_WITH_TIMEOUT(m_read->count(), 1, 10000);

    LogCounter lost(QStringLiteral("Lost pcscd|pcscd is not reachable"));
    LogCounter stayed(QStringLiteral("has stayed on the reader while pcscd restarted"));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("Lost pcscd .*waiting for it to come back")));
    m_pcscd.stop();
    QTRY_VERIFY_WITH_TIMEOUT(!m_source->isConnected(), 10000);
    QTest::qWait(1500);
    QString error;
    QVERIFY2(m_pcscd.start(&error), qPrintable(error));
    QTRY_VERIFY_WITH_TIMEOUT(m_source->isConnected(), 10000);
    QTRY_COMPARE_WITH_TIMEOUT(m_source->readers().size(), PrivatePcscd::ReaderCount, 10000);
    QCOMPARE(lost.count(), 1);

    // The tag lay on its reader all along: once the reader sees it again, it is the same presence, not a
    // new touch. (Taking it off before it was seen again would make the put-back below that sighting.)
    QTRY_COMPARE_WITH_TIMEOUT(stayed.count(), 1, 10000);
    QTest::qWait(500);
    QCOMPARE(m_read->count(), 1);

    // Taken off and put back, it is a new touch.
    QVERIFY(tag.takeOff());
    QVERIFY(m_pcscd.waitUntilEmpty(5000));
    QVERIFY(tag.putBack());
    QTRY_COMPARE_WITH_TIMEOUT(m_read->count(), 2, 10000);
}

void tst_PcscTagSource::readsATagOnceAnotherProgramReleasesItsReader()
{
    VirtualTag tag(VirtualTag::type2(ultralight(uriMessage("example.com")), defaultUid()));
    touch(tag, 1);

    // Another program takes the reader for itself.
    SCARDCONTEXT context = 0;
    QCOMPARE(SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &context), LONG(SCARD_S_SUCCESS));
    const QByteArray reader = m_pcscd.readerName(1).toUtf8();
    SCARDHANDLE handle = 0;
    DWORD protocol = 0;
    LONG rv = SCARD_E_NO_SMARTCARD;
    for (int attempt = 0; attempt < 50 && rv != SCARD_S_SUCCESS; ++attempt) {
        rv = SCardConnect(context, reader.constData(), SCARD_SHARE_EXCLUSIVE, SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1,
                          &handle, &protocol);
        if (rv != SCARD_S_SUCCESS)
            QTest::qWait(100);
    }
    QCOMPARE(rv, LONG(SCARD_S_SUCCESS));

    LogCounter held(QStringLiteral("held by another program"));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("held by another program")));
    startSource();
    QTest::qWait(2500);
    QCOMPARE(m_read->count(), 0);
    QCOMPARE(held.count(), 1);

    SCardDisconnect(handle, SCARD_LEAVE_CARD);
    SCardReleaseContext(context);
    QTRY_COMPARE_WITH_TIMEOUT(m_read->count(), 1, 10000);
}

void tst_PcscTagSource::stopsWhenDestroyed()
{
    startSource();
    QSignalSpy connected(m_source.get(), &PcscTagSource::connectedChanged);
    m_source.reset(); // returns once the watching thread has ended
    QVERIFY(!m_source);
}

void tst_PcscTagSource::aCardOfAReaderBeingStoppedSendsNoMoreCommands()
{
    // The watcher's cards check its stop flag before each command, so a long read ends at the next one
    // instead of holding the thread (and the daemon's shutdown) until the tag is read. The handle is
    // never used: the flag is set.
    std::atomic<bool> stopping {true};
    PcscCard card(0, SCARD_PROTOCOL_T1, QStringLiteral("Test reader"), &stopping);

    const TagReadResult result = TagReader::read(card, type4Atr());

    QCOMPARE(result.outcome, TagReadResult::Failed);
    QVERIFY2(result.reason.contains(QStringLiteral("the reader is being stopped")), qPrintable(result.reason));
    QCOMPARE(result.apdus, 1);
}

QTEST_GUILESS_MAIN(tst_PcscTagSource)
#include "tst_pcsctagsource.moc"
