#ifndef NFCUI_BUSDEADLINE_H
#define NFCUI_BUSDEADLINE_H

#include <QDeadlineTimer>
#include <QtGlobal>

// Some questions of the platform API are answered synchronously (is the phone locked, is the adapter
// powered, which devices does it know), so the calls behind them have to block. All the calls of one
// such question share one time budget, well below the bus's own reply timeout of 25 seconds: a service
// that hangs holds the dialog server up for at most that long, and a missing one not at all (the bus
// answers at once that nobody owns the name).
namespace BusDeadline {

constexpr int budgetMs = 5000;

inline QDeadlineTimer start()
{
    return QDeadlineTimer(budgetMs);
}

// The timeout of the next call: what is left of the budget, at least one millisecond.
inline int timeoutMs(const QDeadlineTimer& deadline)
{
    return int(qBound<qint64>(1, deadline.remainingTime(), budgetMs));
}

} // namespace BusDeadline

#endif
