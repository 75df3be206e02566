#ifndef BENCHDIALOGSERVER_H
#define BENCHDIALOGSERVER_H

#include <QElapsedTimer>

#include "connectivitydialogserverinterface.h"

// A dialog server reduced to what a benchmark needs: it records when each dialog is shown, and on the
// next turn of the event loop marks it as on screen and answers it with a fixed result code, recording
// when it answered and when the dialog's done() returned. Closed dialogs are deleted later, as a real server does.
class BenchDialogServer : public ConnectivityDialogServerInterface
{
public:
    explicit BenchDialogServer(const QElapsedTimer* clock, int answer);

    void showDialog(ConnUi::Dialog* dialog) override;
    void closeDialog(ConnUi::Dialog* dialog) override;
    void setProperty(const QString& name, const QVariant& value) override;

    // Forgets the times of the last dialog.
    void reset();

    const QElapsedTimer* clock;
    int answer;
    qint64 shownAt = -1;    // ns on clock, -1 before the next dialog is shown
    qint64 answeredAt = -1; // ns on clock, -1 before the next dialog is answered
    qint64 answerReturnedAt = -1; // ns on clock, when done() returned: the part of the answer run synchronously
    int shown = 0;
    int closed = 0;
};

#endif
