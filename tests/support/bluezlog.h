#ifndef NFCUI_BLUEZLOG_H
#define NFCUI_BLUEZLOG_H

#include <QStringList>
#include <QtGlobal>

// Collects the warning texts logged while it lives, and hands every message on to the handler that was
// installed before (QTest's, so that QTest::ignoreMessage keeps working). Lets a test assert that a step
// logged exactly the expected warnings and nothing else. One at a time.
class BluezWarningLog {
public:
    BluezWarningLog();
    ~BluezWarningLog();

    QStringList warnings() const;
    void clear();

private:
    Q_DISABLE_COPY(BluezWarningLog)
    static void handler(QtMsgType type, const QMessageLogContext& context, const QString& message);
    QtMessageHandler m_previous;
};

#endif
