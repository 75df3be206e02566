#include "daemonlogging.h"

Q_LOGGING_CATEGORY(lcDaemon, "nfcui.daemon", QtInfoMsg)
