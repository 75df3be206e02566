// FeedbackEffect on Linux: feedbackd when it runs on the session bus, the event sound through libcanberra
// otherwise, nothing when neither is there; the effect is reported to UiIndications in every case.
//
// The sound goes through libcanberra's ALSA driver into ALSA's file plugin over its null device, so that
// the test hears what would have been played: the samples of the "device-added" sound of a sound theme
// the suite writes into its own XDG_DATA_HOME.
#include <QDataStream>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLoggingCategory>
#include <QReadWriteLock>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <atomic>
#include <chrono>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "buscallmonitor.h"
#include "feedbackeffect.h"
#include "feedbackeffect_p.h"
#include "mocksuite.h"
#include "phonemocks.h"
#include "spawnguard.h"
#include "uiindications.h"

using ConnUi::FeedbackEffect;
using ConnUi::FeedbackEffectPrivate;

namespace {

const int soundFrames = 800;

// A mono 16-bit WAV file of soundFrames frames.
QByteArray wavSound()
{
    QByteArray samples;
    QDataStream sampleStream(&samples, QIODevice::WriteOnly);
    sampleStream.setByteOrder(QDataStream::LittleEndian);
    for (int i = 0; i < soundFrames; ++i)
        sampleStream << qint16((i % 40 - 20) * 500);

    QByteArray wav;
    QDataStream out(&wav, QIODevice::WriteOnly);
    out.setByteOrder(QDataStream::LittleEndian);
    out.writeRawData("RIFF", 4);
    out << quint32(36 + samples.size());
    out.writeRawData("WAVEfmt ", 8);
    out << quint32(16) << quint16(1) << quint16(1) << quint32(8000) << quint32(16000) << quint16(2) << quint16(16);
    out.writeRawData("data", 4);
    out << quint32(samples.size());
    out.writeRawData(samples.constData(), samples.size());
    return wav;
}

bool writeFile(const QString& path, const QByteArray& contents)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(contents) == contents.size();
}

// A sound device that takes its time to open: the file ALSA writes to is a FIFO that nobody reads
// until read() is called, so opening it for writing blocks until then. It is read until the given
// number of sounds has arrived.
class SlowSoundDevice
{
public:
    // The reader comes after readerLatest milliseconds at the latest, so that a play() that waits for
    // it cannot hang the test.
    explicit SlowSoundDevice(const QString& path, int sounds = 1, int readerLatest = 2000) : m_path(path)
    {
        m_valid = ::mkfifo(QFile::encodeName(path).constData(), 0600) == 0;
        if (!m_valid)
            return;
        m_reader = std::thread([this, sounds, readerLatest] {
            for (int waited = 0; waited < readerLatest && !m_readNow; waited += 10)
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            const int fd = ::open(QFile::encodeName(m_path).constData(), O_RDONLY | O_NONBLOCK);
            if (fd < 0)
                return;
            QElapsedTimer timer;
            timer.start();
            while (m_heard.size() < soundFrames * 2 * sounds && timer.elapsed() < 10000) {
                pollfd readable{fd, POLLIN, 0};
                if (::poll(&readable, 1, 100) <= 0)
                    continue;
                char buffer[4096];
                const ssize_t got = ::read(fd, buffer, sizeof buffer);
                if (got > 0)
                    m_heard.append(buffer, int(got));
                else if (got == 0)
                    std::this_thread::sleep_for(std::chrono::milliseconds(10)); // no writer yet
            }
            ::close(fd);
        });
    }
    ~SlowSoundDevice()
    {
        read();
        QFile::remove(m_path);
    }
    bool isValid() const { return m_valid; }

    // Starts reading, and returns what was written once the sounds have arrived (or after ten seconds).
    QByteArray read()
    {
        m_readNow = true;
        if (m_reader.joinable())
            m_reader.join();
        return m_heard;
    }

private:
    Q_DISABLE_COPY(SlowSoundDevice)
    QString m_path;
    bool m_valid = false;
    std::atomic<bool> m_readNow{false};
    QByteArray m_heard;
    std::thread m_reader;
};

} // namespace

class tst_FeedbackEffect : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void touchPlaysTheDeviceAddedEvent();
    void otherEffectNamesAreEventNames();
    void touchIsReportedAsIndication();
    void touchTriggersFeedbackdWhenItRuns();
    void feedbackdTriggerIsNotWaitedFor();
    void laterTouchesAskTheBusNothing();
    void feedbackdStartedLaterTakesTheNextTouches();
    void feedbackdGoneIsNotCalledAnyMore();
    void feedbackdRefusalFallsBackToTheSound();
    void feedbackdThatDoesNotAnswerWithinASecondFallsBackToTheSound();
    void touchPlaysTheEventSoundWithoutFeedbackd();
    void soundDeviceIsOpenedOffTheEventLoop();
    void soundBeingHandedOverHoldsProgramSpawnsBack();
    void touchesWhileTheSoundSystemTakesItsTimeAreSilent();
    void aSoundDeviceThatBlocksDoesNotHoldUpTheExit();
    void touchIsSilentWithoutFeedbackdOrSound();
    void soundSystemThatFailsIsNotTriedAgain();
    void closingTheSoundWhilePlayingIsSafe();

private:
    QString soundOutput() const { return m_dir.filePath(QStringLiteral("sound.raw")); }
    QStringList triggeredEvents() const;
    // Starts feedbackd and makes one touch, which it takes.
    void startFeedbackdAndTouchOnce();
    // Starts feedbackd with TriggerFeedback running the Python code given.
    void startFeedbackdTriggering(const QString& code);

    QTemporaryDir m_dir;
    std::unique_ptr<MockService> m_feedbackd;
};

void tst_FeedbackEffect::initTestCase()
{
    MockSuite::requirePrivateBuses();
    QVERIFY(m_dir.isValid());

    // A sound theme of the suite's own, and no other.
    const QString data = m_dir.filePath(QStringLiteral("data"));
    QVERIFY(writeFile(data + QStringLiteral("/sounds/freedesktop/index.theme"),
                      "[Sound Theme]\nName=freedesktop\nDirectories=stereo\n\n[stereo]\nOutputProfile=stereo\n"));
    QVERIFY(writeFile(data + QStringLiteral("/sounds/freedesktop/stereo/device-added.wav"), wavSound()));
    qputenv("XDG_DATA_HOME", QFile::encodeName(data));
    qputenv("XDG_DATA_DIRS", QFile::encodeName(m_dir.filePath(QStringLiteral("none"))));

    // libcanberra over ALSA, whose default device writes the samples into a file and plays nothing.
    const QString alsaConfig = m_dir.filePath(QStringLiteral("asound.conf"));
    QVERIFY(writeFile(alsaConfig,
                      QStringLiteral("pcm.!default { type file slave.pcm \"null\" file \"%1\" format \"raw\" }\n"
                                     "pcm.null { type null }\n")
                          .arg(soundOutput())
                          .toUtf8()));
    qputenv("ALSA_CONFIG_PATH", QFile::encodeName(alsaConfig));
    qputenv("CANBERRA_DRIVER", "alsa");

    QLoggingCategory::setFilterRules(QStringLiteral("nfcui.linux.feedback.debug=true"));
}

void tst_FeedbackEffect::init()
{
    QFile::remove(soundOutput());
    FeedbackEffectPrivate::resetSound();
    FeedbackEffectPrivate::resetFeedbackd();
    qputenv("CANBERRA_DRIVER", "alsa");
}

void tst_FeedbackEffect::cleanup()
{
    m_feedbackd.reset();
}

void tst_FeedbackEffect::startFeedbackdAndTouchOnce()
{
    m_feedbackd = PhoneMocks::feedbackd();
    MockSuite::startOnPrivateBus(*m_feedbackd);
    QTest::ignoreMessage(QtDebugMsg, "FeedbackEffect: device-added through feedbackd");
    FeedbackEffect::play(QStringLiteral("priority1_nfc_touch"));
    QTRY_COMPARE(triggeredEvents().size(), 1);
}

void tst_FeedbackEffect::startFeedbackdTriggering(const QString& code)
{
    m_feedbackd = PhoneMocks::feedbackd();
    MockSuite::startOnPrivateBus(*m_feedbackd);
    QVERIFY2(m_feedbackd->addMethod(PhoneMocks::feedbackdPath(), QStringLiteral("org.sigxcpu.Feedback"),
                                    QStringLiteral("TriggerFeedback"), QStringLiteral("ssa{sv}i"), QStringLiteral("u"),
                                    code),
             qPrintable(m_feedbackd->lastError()));
}

QStringList tst_FeedbackEffect::triggeredEvents() const
{
    QStringList events;
    for (const MockCall& call : m_feedbackd->calls(PhoneMocks::feedbackdPath())) {
        if (call.method == QLatin1String("TriggerFeedback"))
            events.append(call.args.value(1).toString());
    }
    return events;
}

void tst_FeedbackEffect::touchPlaysTheDeviceAddedEvent()
{
    QCOMPARE(FeedbackEffectPrivate::eventFor(QStringLiteral("priority1_nfc_touch")), QStringLiteral("device-added"));
}

void tst_FeedbackEffect::otherEffectNamesAreEventNames()
{
    QCOMPARE(FeedbackEffectPrivate::eventFor(QStringLiteral("message-new-instant")),
             QStringLiteral("message-new-instant"));
}

void tst_FeedbackEffect::touchIsReportedAsIndication()
{
    qputenv("CANBERRA_DRIVER", "none-such");
    QSignalSpy indications(ConnUi::UiIndications::instance(), SIGNAL(indication(QString, QString)));
    QTest::ignoreMessage(QtDebugMsg,
                         QRegularExpression(QStringLiteral("^FeedbackEffect: no feedback service and no sound")));
    FeedbackEffect::play(QStringLiteral("priority1_nfc_touch"));
    FeedbackEffectPrivate::waitForSound();
    QCOMPARE(indications.count(), 1);
    QCOMPARE(indications.first(), QVariantList({QStringLiteral("feedback"), QStringLiteral("priority1_nfc_touch")}));
}

void tst_FeedbackEffect::touchTriggersFeedbackdWhenItRuns()
{
    m_feedbackd = PhoneMocks::feedbackd();
    MockSuite::startOnPrivateBus(*m_feedbackd);
    QSignalSpy indications(ConnUi::UiIndications::instance(), SIGNAL(indication(QString, QString)));

    QTest::ignoreMessage(QtDebugMsg, "FeedbackEffect: device-added through feedbackd");
    FeedbackEffect::play(QStringLiteral("priority1_nfc_touch"));

    QTRY_COMPARE(m_feedbackd->calls(PhoneMocks::feedbackdPath()).size(), 1);
    const MockCall call = m_feedbackd->calls(PhoneMocks::feedbackdPath()).first();
    QCOMPARE(call.method, QStringLiteral("TriggerFeedback"));
    QCOMPARE(call.args, QVariantList({QStringLiteral("nfc-ui"), QStringLiteral("device-added"), QVariantMap(), -1}));
    QCOMPARE(indications.count(), 1);
    // feedbackd plays the sound itself, if the user's profile has one.
    QVERIFY(!QFile::exists(soundOutput()));
}

void tst_FeedbackEffect::feedbackdTriggerIsNotWaitedFor()
{
    // A feedbackd that takes its time: play() returns long before it answers.
    startFeedbackdTriggering(QStringLiteral("time.sleep(3); ret = dbus.UInt32(7)"));

    QElapsedTimer timer;
    timer.start();
    FeedbackEffect::play(QStringLiteral("priority1_nfc_touch"));
    QVERIFY(timer.elapsed() < 1000);
    QTRY_COMPARE(triggeredEvents(), QStringList({QStringLiteral("device-added")}));
}

// The first touch asks the bus whether feedbackd runs and starts following its name; later touches only
// send feedbackd the event. A proxy made per touch would add an owner lookup, a match rule and the
// rule's removal to each of them; asking the bus on each touch, an owner lookup.
void tst_FeedbackEffect::laterTouchesAskTheBusNothing()
{
    startFeedbackdAndTouchOnce();
    if (QTest::currentTestFailed())
        return;

    BusCallMonitor monitor;
    QVERIFY2(monitor.start(), "dbus-monitor is needed");
    const int touches = 3;
    for (int i = 0; i < touches; ++i) {
        QTest::ignoreMessage(QtDebugMsg, "FeedbackEffect: device-added through feedbackd");
        FeedbackEffect::play(QStringLiteral("priority1_nfc_touch"));
    }
    QTRY_COMPARE(triggeredEvents().size(), 1 + touches);
    QCOMPARE(monitor.calls(), QStringList());
}

void tst_FeedbackEffect::feedbackdStartedLaterTakesTheNextTouches()
{
    QTest::ignoreMessage(QtDebugMsg, "FeedbackEffect: device-added through libcanberra");
    FeedbackEffect::play(QStringLiteral("priority1_nfc_touch"));
    QTRY_COMPARE(QFileInfo(soundOutput()).size(), qint64(soundFrames * 2));
    FeedbackEffectPrivate::waitForSound();

    m_feedbackd = PhoneMocks::feedbackd();
    MockSuite::startOnPrivateBus(*m_feedbackd);
    // Its arrival is reported through the event loop; until then touches still play the sound.
    QTRY_VERIFY([this] {
        FeedbackEffect::play(QStringLiteral("priority1_nfc_touch"));
        return QTest::qWaitFor([this] { return !triggeredEvents().isEmpty(); }, 1000);
    }());
    const QStringList triggered = triggeredEvents();
    QCOMPARE(QSet<QString>(triggered.begin(), triggered.end()), QSet<QString>({QStringLiteral("device-added")}));
}

void tst_FeedbackEffect::feedbackdGoneIsNotCalledAnyMore()
{
    startFeedbackdAndTouchOnce();
    if (QTest::currentTestFailed())
        return;
    m_feedbackd->stop();

    // Touches made before the departure is reported still go to feedbackd's name, are refused by the
    // bus and play the sound; then the sound is played without asking.
    QTRY_VERIFY([this] {
        QFile::remove(soundOutput());
        FeedbackEffect::play(QStringLiteral("priority1_nfc_touch"));
        return QTest::qWaitFor([this] { return QFileInfo(soundOutput()).size() == soundFrames * 2; }, 2000);
    }());
    BusCallMonitor monitor;
    monitor.alsoWatch(QLatin1String("org.sigxcpu.Feedback"));
    QVERIFY2(monitor.start(), "dbus-monitor is needed");
    QFile::remove(soundOutput());
    QTest::ignoreMessage(QtDebugMsg, "FeedbackEffect: device-added through libcanberra");
    FeedbackEffect::play(QStringLiteral("priority1_nfc_touch"));
    QTRY_COMPARE(QFileInfo(soundOutput()).size(), qint64(soundFrames * 2));
    FeedbackEffectPrivate::waitForSound();
    QCOMPARE(monitor.calls(), QStringList());
}

void tst_FeedbackEffect::feedbackdRefusalFallsBackToTheSound()
{
    startFeedbackdTriggering(QStringLiteral("raise dbus.exceptions.DBusException('no such event', "
                                            "name='org.freedesktop.DBus.Error.InvalidArgs')"));

    QTest::ignoreMessage(QtDebugMsg, "FeedbackEffect: device-added through feedbackd");
    QTest::ignoreMessage(QtDebugMsg,
                         "FeedbackEffect: feedbackd refused device-added: org.freedesktop.DBus.Error.InvalidArgs");
    QTest::ignoreMessage(QtDebugMsg, "FeedbackEffect: device-added through libcanberra");
    FeedbackEffect::play(QStringLiteral("priority1_nfc_touch"));
    QTRY_COMPARE(QFileInfo(soundOutput()).size(), qint64(soundFrames * 2));
    FeedbackEffectPrivate::waitForSound();
}

void tst_FeedbackEffect::feedbackdThatDoesNotAnswerWithinASecondFallsBackToTheSound()
{
    startFeedbackdTriggering(QStringLiteral("time.sleep(30); ret = dbus.UInt32(7)"));

    QTest::ignoreMessage(QtDebugMsg, "FeedbackEffect: device-added through feedbackd");
    QTest::ignoreMessage(QtDebugMsg, "FeedbackEffect: feedbackd did not answer device-added within 1000 ms");
    QTest::ignoreMessage(QtDebugMsg, "FeedbackEffect: device-added through libcanberra");
    QElapsedTimer timer;
    timer.start();
    FeedbackEffect::play(QStringLiteral("priority1_nfc_touch"));
    QTRY_COMPARE(QFileInfo(soundOutput()).size(), qint64(soundFrames * 2));
    // The bus's own timeout would have been 25 s.
    QVERIFY2(timer.elapsed() < 10000, qPrintable(QString::number(timer.elapsed())));
    FeedbackEffectPrivate::waitForSound();
}

void tst_FeedbackEffect::touchPlaysTheEventSoundWithoutFeedbackd()
{
    QTest::ignoreMessage(QtDebugMsg, "FeedbackEffect: device-added through libcanberra");
    FeedbackEffect::play(QStringLiteral("priority1_nfc_touch"));
    // Every sample of the theme's device-added sound reached the sound device.
    QTRY_COMPARE(QFileInfo(soundOutput()).size(), qint64(soundFrames * 2));
    FeedbackEffectPrivate::waitForSound();
}

void tst_FeedbackEffect::soundDeviceIsOpenedOffTheEventLoop()
{
    SlowSoundDevice device(soundOutput());
    QVERIFY(device.isValid());

    QElapsedTimer timer;
    timer.start();
    QTest::ignoreMessage(QtDebugMsg, "FeedbackEffect: device-added through libcanberra");
    FeedbackEffect::play(QStringLiteral("priority1_nfc_touch"));
    const qint64 returnedAfter = timer.elapsed();
    const QByteArray heard = device.read();
    FeedbackEffectPrivate::waitForSound();
    QVERIFY2(returnedAfter < 1000, qPrintable(QStringLiteral("play() returned after %1 ms").arg(returnedAfter)));
    QCOMPARE(heard.size(), soundFrames * 2);
}

void tst_FeedbackEffect::soundBeingHandedOverHoldsProgramSpawnsBack()
{
    // libcanberra opens files without close-on-exec while it takes a sound: a program spawned meanwhile
    // with the dialog server's descriptors left open would inherit them.
    SlowSoundDevice device(soundOutput());
    QVERIFY(device.isValid());
    QTest::ignoreMessage(QtDebugMsg, "FeedbackEffect: device-added through libcanberra");
    FeedbackEffect::play(QStringLiteral("priority1_nfc_touch"));
    const auto spawnWouldWait = [] {
        if (!SpawnGuard::lock().tryLockForWrite())
            return true;
        SpawnGuard::lock().unlock();
        return false;
    };
    QTRY_VERIFY(spawnWouldWait());

    QCOMPARE(device.read().size(), soundFrames * 2);
    FeedbackEffectPrivate::waitForSound();
    QVERIFY(!spawnWouldWait());
}

void tst_FeedbackEffect::touchesWhileTheSoundSystemTakesItsTimeAreSilent()
{
    // One sound is being handed over (its device blocks) and one more waits: the touches after those
    // play nothing instead of queueing up behind them.
    SlowSoundDevice device(soundOutput(), 2);
    QVERIFY(device.isValid());
    QTest::ignoreMessage(QtDebugMsg, "FeedbackEffect: device-added through libcanberra");
    QTest::ignoreMessage(QtDebugMsg, "FeedbackEffect: device-added through libcanberra");
    QTest::ignoreMessage(QtDebugMsg,
                         "FeedbackEffect: no sound for device-added: the sound system is still taking the last ones");
    QTest::ignoreMessage(QtDebugMsg,
                         "FeedbackEffect: no sound for device-added: the sound system is still taking the last ones");
    for (int touch = 0; touch < 4; ++touch)
        FeedbackEffect::play(QStringLiteral("priority1_nfc_touch"));
    QCOMPARE(device.read().size(), soundFrames * 2 * 2);
    FeedbackEffectPrivate::waitForSound();
}

void tst_FeedbackEffect::aSoundDeviceThatBlocksDoesNotHoldUpTheExit()
{
    SlowSoundDevice device(soundOutput(), 1, 10000);
    QVERIFY(device.isValid());
    QTest::ignoreMessage(QtDebugMsg, "FeedbackEffect: device-added through libcanberra");
    FeedbackEffect::play(QStringLiteral("priority1_nfc_touch"));
    QTest::ignoreMessage(QtWarningMsg, "FeedbackEffect: the sound system has not taken a sound for 2000 ms; "
                                       "not waiting for it at exit");
    QElapsedTimer timer;
    timer.start();
    FeedbackEffectPrivate::closeSoundForExit();
    const qint64 closedAfter = timer.elapsed();
    QVERIFY2(closedAfter < 4000, qPrintable(QStringLiteral("the exit waited %1 ms").arg(closedAfter)));
    // The sound left behind still arrives when the device opens.
    QCOMPARE(device.read().size(), soundFrames * 2);
    FeedbackEffectPrivate::resetSound();
}

void tst_FeedbackEffect::touchIsSilentWithoutFeedbackdOrSound()
{
    qputenv("CANBERRA_DRIVER", "none-such");
    QTest::ignoreMessage(QtDebugMsg, "FeedbackEffect: no feedback service and no sound: No such driver");
    FeedbackEffect::play(QStringLiteral("priority1_nfc_touch"));
    FeedbackEffectPrivate::waitForSound();
    QTest::qWait(200);
    QVERIFY(!QFile::exists(soundOutput()));
}

void tst_FeedbackEffect::soundSystemThatFailsIsNotTriedAgain()
{
    qputenv("CANBERRA_DRIVER", "none-such");
    QTest::ignoreMessage(QtDebugMsg, "FeedbackEffect: no feedback service and no sound: No such driver");
    FeedbackEffect::play(QStringLiteral("priority1_nfc_touch"));
    FeedbackEffectPrivate::waitForSound();
    // A second touch says nothing more (a message not ignored would still pass, so count them).
    int messages = 0;
    static int* counter = nullptr;
    counter = &messages;
    const QtMessageHandler previous =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext& context, const QString&) {
            if (qstrcmp(context.category, "nfcui.linux.feedback") == 0)
                ++*counter;
        });
    qputenv("CANBERRA_DRIVER", "alsa");
    FeedbackEffect::play(QStringLiteral("priority1_nfc_touch"));
    FeedbackEffectPrivate::waitForSound();
    qInstallMessageHandler(previous);
    QCOMPARE(messages, 0);
    QTest::qWait(200);
    QVERIFY(!QFile::exists(soundOutput()));
}

// The sound context closed while its sound plays, or just after (a playback thread finishing): the
// playback stops and nothing that thread runs has gone away.
void tst_FeedbackEffect::closingTheSoundWhilePlayingIsSafe()
{
    for (int i = 0; i < 20; ++i) {
        QTest::ignoreMessage(QtDebugMsg, "FeedbackEffect: device-added through libcanberra");
        FeedbackEffect::play(QStringLiteral("priority1_nfc_touch"));
        if (i % 2)
            QTest::qWait(i * 5);
        FeedbackEffectPrivate::resetSound();
    }
    // And it plays again afterwards.
    QFile::remove(soundOutput());
    QTest::ignoreMessage(QtDebugMsg, "FeedbackEffect: device-added through libcanberra");
    FeedbackEffect::play(QStringLiteral("priority1_nfc_touch"));
    QTRY_COMPARE(QFileInfo(soundOutput()).size(), qint64(soundFrames * 2));
    FeedbackEffectPrivate::waitForSound();
}

QTEST_GUILESS_MAIN(tst_FeedbackEffect)

#include "tst_feedbackeffect.moc"
