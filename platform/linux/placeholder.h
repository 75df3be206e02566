#ifndef NFCUI_LINUX_PLACEHOLDER_H
#define NFCUI_LINUX_PLACEHOLDER_H

#include <QSet>
#include <QString>
#include <QtGlobal>

// Parts of the Linux platform that are not written yet say so once per process and answer with the
// failure value, so that the plugin behaves as on a phone without that service.
inline void nfcuiMissing(const char* what)
{
    static QSet<QString> warned;
    if (warned.contains(QLatin1String(what)))
        return;
    warned.insert(QLatin1String(what));
    qWarning("nfc-ui: %s is not available on this platform yet", what);
}

#endif
