#ifndef FAKEFEEDBACK_H
#define FAKEFEEDBACK_H

#include <QStringList>

// What the fake FeedbackEffect played, in order. Kept apart from FakePlatform's call list: feedback is
// played on every touch, and the suites that read that list expect only the operations they script.
namespace FakeFeedback {

QStringList played();
void clear();

} // namespace FakeFeedback

#endif
