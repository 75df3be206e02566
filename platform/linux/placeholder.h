#ifndef NFCUI_LINUX_PLACEHOLDER_H
#define NFCUI_LINUX_PLACEHOLDER_H

#include <QLoggingCategory>
#include <QMutex>
#include <QMutexLocker>
#include <QSet>
#include <QString>

// Parts of the Linux platform that are not written yet say so once per process and answer with the
// failure value, so that the plugin behaves as on a machine without that service.
inline void nfcuiMissing(const QLoggingCategory& category, const char* what)
{
    static QMutex mutex;
    static QSet<QString> warned;
    QMutexLocker locker(&mutex);
    if (warned.contains(QLatin1String(what)))
        return;
    warned.insert(QLatin1String(what));
    qCWarning(category, "nfc-ui: %s is not available on this platform yet", what);
}

#endif
