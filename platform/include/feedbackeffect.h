#ifndef CONNUI_FEEDBACKEFFECT_H
#define CONNUI_FEEDBACKEFFECT_H

#include <QString>

namespace ConnUi {

// The UI toolkit's feedback service: plays a named effect (sound, vibration).
class FeedbackEffect
{
public:
    static void play(const QString& name);
};

} // namespace ConnUi

#endif
