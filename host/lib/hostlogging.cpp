#include "hostlogging.h"

Q_LOGGING_CATEGORY(lcHost, "nfcui.host", QtInfoMsg)
Q_LOGGING_CATEGORY(lcHostAutomation, "nfcui.host.automation", QtInfoMsg)
