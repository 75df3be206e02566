#ifndef CONNUI_FEEDBACKEFFECT_P_H
#define CONNUI_FEEDBACKEFFECT_P_H

#include <QString>

namespace ConnUi {

// The Linux feedback's choices, for its tests.
class FeedbackEffectPrivate
{
public:
    // The application id given to feedbackd and libcanberra.
    static QString applicationId();
    // The event (a name of the freedesktop sound naming scheme) that an effect plays: the NFC touch plays
    // "device-added"; any other effect name is taken as an event name itself.
    static QString eventFor(const QString& effect);
    // Closes the sound context, so that the next sound opens libcanberra again with the environment of
    // that moment (driver, sound theme).
    static void resetSound();
    // Returns once every sound asked for has been handed to libcanberra (they are played on a thread).
    static void waitForSound();
    // What the end of the process does with the sound: waits a moment for the sounds asked for, then
    // closes the sound context (or leaves it to a sound that is still being handed over).
    static void closeSoundForExit();
    // Forgets whether feedbackd runs, so that the next touch asks the bus again, as a new process would.
    static void resetFeedbackd();
};

} // namespace ConnUi

#endif
