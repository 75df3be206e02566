#ifndef NFCUI_OUTCOME_H
#define NFCUI_OUTCOME_H

#include <QObject>
#include <QSignalSpy>
#include <QStringList>

// Records how a request ends: its accepted(), rejected() and dialogShown() signals, and failed(QString)
// for the requests that have it (for the others failed stays empty).
class Outcome
{
public:
    explicit Outcome(QObject* request);

    // How many outcome signals arrived: accepted, rejected and failed together.
    int outcomes() const;
    // The reasons of the failures, in order.
    QStringList failures() const;

private:
    QObject neverFails; // stands in for the requests without failed(QString)

public:
    QSignalSpy accepted;
    QSignalSpy rejected;
    QSignalSpy failed;
    QSignalSpy dialogShown;
};

#endif
