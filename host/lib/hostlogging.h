#ifndef NFCUI_HOSTLOGGING_H
#define NFCUI_HOSTLOGGING_H

#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(lcHost)
Q_DECLARE_LOGGING_CATEGORY(lcHostAutomation)

#endif
