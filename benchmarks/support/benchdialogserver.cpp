#include "benchdialogserver.h"

#include <QPointer>
#include <QTimer>


BenchDialogServer::BenchDialogServer(const QElapsedTimer* clock, int answer)
    : clock(clock)
    , answer(answer)
{
}

void BenchDialogServer::showDialog(ConnUi::Dialog* dialog)
{
    shownAt = clock->nsecsElapsed();
    ++shown;
    // The dialog is reached through its meta-object: its code lives in the plugin library.
    QPointer<QObject> guarded(reinterpret_cast<QObject*>(dialog));
    QTimer::singleShot(0, [this, guarded] {
        if (!guarded)
            return;
        QMetaObject::invokeMethod(guarded, "appear");
        if (!guarded)
            return;
        answeredAt = clock->nsecsElapsed();
        QMetaObject::invokeMethod(guarded, "done", Q_ARG(int, answer));
        answerReturnedAt = clock->nsecsElapsed();
    });
}

void BenchDialogServer::closeDialog(ConnUi::Dialog* dialog)
{
    ++closed;
    reinterpret_cast<QObject*>(dialog)->deleteLater();
}

void BenchDialogServer::setProperty(const QString&, const QVariant&) {}

void BenchDialogServer::reset()
{
    shownAt = -1;
    answeredAt = -1;
    answerReturnedAt = -1;
}
