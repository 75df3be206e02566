#ifndef NFCUI_WARNINGCOUNTER_H
#define NFCUI_WARNINGCOUNTER_H

#include <QtGlobal>

// Counts the warnings logged while it lives, and passes every message on to the handler that was
// installed before it (QtTest's, which still checks QTest::ignoreMessage). For the "warned once" tests:
// ignoreMessage() accepts one warning, but not that no second one follows. One at a time.
class WarningCounter
{
public:
    WarningCounter();
    ~WarningCounter();

    int count() const { return m_count; }

private:
    Q_DISABLE_COPY(WarningCounter)
    static void handle(QtMsgType type, const QMessageLogContext& context, const QString& message);

    int m_count = 0;
    QtMessageHandler m_previous = nullptr;
};

#endif
