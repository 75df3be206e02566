#include "outcome.h"

namespace {
bool hasFailedSignal(const QObject* request)
{
    return request->metaObject()->indexOfSignal("failed(QString)") >= 0;
}
} // namespace

Outcome::Outcome(QObject* request)
    : accepted(request, SIGNAL(accepted())), rejected(request, SIGNAL(rejected())),
      failed(hasFailedSignal(request) ? request : &neverFails,
             hasFailedSignal(request) ? SIGNAL(failed(QString)) : SIGNAL(objectNameChanged(QString))),
      dialogShown(request, SIGNAL(dialogShown()))
{
}

int Outcome::outcomes() const
{
    return accepted.count() + rejected.count() + failed.count();
}

QStringList Outcome::failures() const
{
    QStringList reasons;
    for (const QList<QVariant>& args : failed)
        reasons.append(args.value(0).toString());
    return reasons;
}
