#ifndef NFCUI_DAEMONLOGGING_H
#define NFCUI_DAEMONLOGGING_H

#include <QLoggingCategory>

// nfcui-daemon's own category: one line per agent call made and per reply got, registrations, tags.
Q_DECLARE_LOGGING_CATEGORY(lcDaemon)

#endif
