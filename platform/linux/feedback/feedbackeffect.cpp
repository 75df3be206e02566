// Touch feedback on Linux. On phones feedbackd plays the event the way the user's profile says
// (vibration, LED, sound); elsewhere the event's sound from the desktop's sound theme is played through
// libcanberra; with neither, nothing is played. Every effect is also reported to UiIndications, so that
// the dialog server can show it.
#include "feedbackeffect.h"
#include "feedbackeffect_p.h"
#include "applicationproxy.h"
#include "feedbackdproxy.h"
#include "linuxlogging.h"
#include "spawnguard.h"
#include "uiindications.h"

#include <canberra.h>
#include <dlfcn.h>
#include <link.h>

#include <cstring>
#include <memory>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QCoreApplication>
#include <QMutex>
#include <QMutexLocker>
#include <QPointer>
#include <QReadWriteLock>
#include <QThreadPool>

namespace {

const char feedbackService[] = "org.sigxcpu.Feedback";
const char feedbackPath[] = "/org/sigxcpu/Feedback";

// libcanberra plays each sound on a thread of its driver module (libcanberra-<version>/libcanberra-*.so),
// and destroying a context unloads that module as soon as the threads have said they are done, while
// they may still be running the last instructions of the module. Keeping every loaded driver module in
// the process until it ends makes the threads' ends safe.
int pinDriverModule(dl_phdr_info* info, size_t, void*)
{
    const char* name = info->dlpi_name;
    if (name && std::strstr(name, "/libcanberra-") && std::strstr(name, ".so")) {
        // Never closed: the reference taken here keeps the module loaded.
        dlopen(name, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
    }
    return 0;
}

void closeSoundAtExit();

// One libcanberra context for the process, opened on the first sound. A context that cannot be opened
// (no sound system) is not tried again until resetSound(). The context is closed, its playback
// cancelled, before the application object goes away (a post routine), while everything the sound's
// threads use still exists; otherwise when the library holding it is unloaded.
//
// Sounds are handed to libcanberra on a thread of their own: its drivers open the sound device in
// ca_context_play() (the ALSA driver on every sound, failing each time on a machine without one), which
// must not hold up the event loop. A device that blocks must not hold up the end of the process either:
// at exit a sound still being handed over is waited for ExitWait at most, and then left to the end of
// the process with its context and thread. While one sound is being handed over, one more may wait;
// further touches meanwhile are silent rather than queued behind it.
class SoundPlayer
{
public:
    SoundPlayer()
    {
        m_thread->setMaxThreadCount(1);
        m_thread->setExpiryTimeout(-1);
        qAddPostRoutine(closeSoundAtExit);
    }

    ~SoundPlayer()
    {
        qRemovePostRoutine(closeSoundAtExit);
        if (m_abandoned || !m_thread->waitForDone(ExitWait)) {
            // The thread may still use both; the end of the process takes them.
            m_thread.release();
            m_sound.release();
        }
    }

    void playLater(const QString& event)
    {
        Sound* sound = m_sound.get();
        if (sound->queued.fetchAndAddOrdered(1) >= MaxQueued) {
            sound->queued.fetchAndSubOrdered(1);
            qCDebug(lcFeedback, "FeedbackEffect: no sound for %s: the sound system is still taking the last ones",
                    qUtf8Printable(event));
            return;
        }
        m_thread->start([sound, event] {
            sound->play(event);
            sound->queued.fetchAndSubOrdered(1);
        });
    }

    // Returns once every sound asked for has been handed to libcanberra.
    void waitForDone() { m_thread->waitForDone(); }

    void reset()
    {
        m_thread->waitForDone();
        QMutexLocker locker(&m_sound->mutex);
        m_sound->close();
        m_sound->failed = false;
        m_abandoned = false;
    }

    void closeForExit()
    {
        if (!m_thread->waitForDone(ExitWait)) {
            qCWarning(lcFeedback, "FeedbackEffect: the sound system has not taken a sound for %d ms; "
                                  "not waiting for it at exit", ExitWait);
            m_abandoned = true;
            return;
        }
        QMutexLocker locker(&m_sound->mutex);
        m_sound->close();
    }

private:
    // What the sound thread uses. Deleted with the player once the thread has finished; a thread left
    // blocked at exit keeps it to the end of the process.
    struct Sound
    {
        ~Sound() { close(); }

        void play(const QString& event)
        {
            // libcanberra opens sound files (and its drivers their files) without close-on-exec.
            QReadLocker spawnGuard(&SpawnGuard::lock());
            QMutexLocker locker(&mutex);
            if (!open())
                return;
            const QByteArray id = event.toUtf8();
            const int result = ca_context_play(context, 0, CA_PROP_EVENT_ID, id.constData(), CA_PROP_EVENT_DESCRIPTION,
                                               "NFC touch", nullptr);
            if (result == CA_SUCCESS)
                qCDebug(lcFeedback, "FeedbackEffect: %s through libcanberra", id.constData());
            else
                qCDebug(lcFeedback, "FeedbackEffect: no sound for %s: %s", id.constData(), ca_strerror(result));
        }

        bool open()
        {
            if (context)
                return true;
            if (failed)
                return false;
            const QByteArray application = ConnUi::FeedbackEffectPrivate::applicationId().toUtf8();
            int result = ca_context_create(&context);
            if (result == CA_SUCCESS) {
                ca_context_change_props(context, CA_PROP_APPLICATION_NAME, application.constData(),
                                        CA_PROP_APPLICATION_ID, application.constData(), nullptr);
                result = ca_context_open(context);
            }
            if (result != CA_SUCCESS) {
                qCDebug(lcFeedback, "FeedbackEffect: no feedback service and no sound: %s", ca_strerror(result));
                close();
                failed = true;
                return false;
            }
            dl_iterate_phdr(pinDriverModule, nullptr);
            return true;
        }

        // Stops what is playing (every sound is played with id 0) and destroys the context, which waits
        // for the playback threads.
        void close()
        {
            if (context) {
                ca_context_cancel(context, 0);
                ca_context_destroy(context);
            }
            context = nullptr;
        }

        QMutex mutex;
        ca_context* context = nullptr;
        bool failed = false;
        // Sounds being handed over or waiting for it.
        QAtomicInt queued;
    };

    // How long the end of the process waits for a sound being handed over, in milliseconds.
    static constexpr int ExitWait = 2000;
    // Sounds being handed over or waiting for it, at most.
    static constexpr int MaxQueued = 2;

    std::unique_ptr<Sound> m_sound = std::make_unique<Sound>();
    // Destroyed first.
    std::unique_ptr<QThreadPool> m_thread = std::make_unique<QThreadPool>();
    bool m_abandoned = false;
};

Q_GLOBAL_STATIC(SoundPlayer, soundPlayer)

void closeSoundAtExit()
{
    if (soundPlayer.exists() && !soundPlayer.isDestroyed())
        soundPlayer()->closeForExit();
}

// Whether feedbackd owns its name, known without asking the bus on every touch: the first touch asks
// once (NameHasOwner), and a QDBusServiceWatcher made then reports every change of owner through the
// event loop. Without an application object (no event loop to report changes) every touch asks.
enum class Feedbackd { Unknown, Running, Absent };
Feedbackd feedbackdState = Feedbackd::Unknown;
QPointer<QDBusServiceWatcher> feedbackdWatcher;

bool feedbackdRuns(const QDBusConnection& bus)
{
    if (!bus.isConnected() || !bus.interface())
        return false;
    if (feedbackdWatcher && feedbackdState != Feedbackd::Unknown)
        return feedbackdState == Feedbackd::Running;

    // The watcher's match rule is sent before the question, so that no change after the answer is missed.
    if (!feedbackdWatcher && QCoreApplication::instance()) {
        auto* watcher = new QDBusServiceWatcher(QLatin1String(feedbackService), bus,
                                                QDBusServiceWatcher::WatchForOwnerChange, QCoreApplication::instance());
        QObject::connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, watcher,
                         [](const QString&, const QString&, const QString& newOwner) {
                             feedbackdState = newOwner.isEmpty() ? Feedbackd::Absent : Feedbackd::Running;
                         });
        // Gone with the application: the next touch asks again.
        QObject::connect(watcher, &QObject::destroyed, [] { feedbackdState = Feedbackd::Unknown; });
        feedbackdWatcher = watcher;
    }
    const bool runs = bus.interface()->isServiceRegistered(QLatin1String(feedbackService)).value();
    if (feedbackdWatcher)
        feedbackdState = runs ? Feedbackd::Running : Feedbackd::Absent;
    return runs;
}

// How long feedbackd has to answer before the event's own sound is played: feedback that comes later
// than the touch by more than this is no feedback for it any more, and a hung feedbackd must not gather
// the calls of every touch for the bus's 25 seconds each.
constexpr int FeedbackdAnswerMs = 1000;

// Asks feedbackd for the event without waiting; should it refuse or not answer in time, the event's
// sound is played instead.
void trigger(const QDBusConnection& bus, const QString& event)
{
    FeedbackdProxy* feedbackd = applicationProxy<FeedbackdProxy>(bus, feedbackService, feedbackPath);
    feedbackd->setTimeout(FeedbackdAnswerMs);
    QDBusPendingCallWatcher* watcher = new QDBusPendingCallWatcher(
        feedbackd->TriggerFeedback(ConnUi::FeedbackEffectPrivate::applicationId(), event, QVariantMap(), -1));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [event](QDBusPendingCallWatcher* call) {
        const QDBusPendingReply<uint> reply = *call;
        if (reply.isError()) {
            if (reply.error().type() == QDBusError::NoReply)
                qCDebug(lcFeedback, "FeedbackEffect: feedbackd did not answer %s within %d ms", qUtf8Printable(event),
                        FeedbackdAnswerMs);
            else
                qCDebug(lcFeedback, "FeedbackEffect: feedbackd refused %s: %s", qUtf8Printable(event),
                        qUtf8Printable(reply.error().name()));
            soundPlayer()->playLater(event);
        }
        call->deleteLater();
    });
    qCDebug(lcFeedback, "FeedbackEffect: %s through feedbackd", qUtf8Printable(event));
}

} // namespace

namespace ConnUi {

QString FeedbackEffectPrivate::applicationId()
{
    return QStringLiteral("nfc-ui");
}

QString FeedbackEffectPrivate::eventFor(const QString& effect)
{
    if (effect == QLatin1String("priority1_nfc_touch"))
        return QStringLiteral("device-added");
    return effect;
}

void FeedbackEffectPrivate::resetSound()
{
    soundPlayer()->reset();
}

void FeedbackEffectPrivate::waitForSound()
{
    soundPlayer()->waitForDone();
}

void FeedbackEffectPrivate::closeSoundForExit()
{
    soundPlayer()->closeForExit();
}

void FeedbackEffectPrivate::resetFeedbackd()
{
    delete feedbackdWatcher.data();
    feedbackdState = Feedbackd::Unknown;
}

void FeedbackEffect::play(const QString& name)
{
    UiIndications::indicate(QStringLiteral("feedback"), name);

    const QString event = FeedbackEffectPrivate::eventFor(name);
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (feedbackdRuns(bus))
        trigger(bus, event);
    else
        soundPlayer()->playLater(event);
}

} // namespace ConnUi
