#include "pcsclogging.h"

Q_LOGGING_CATEGORY(lcPcsc, "nfcui.daemon.pcsc", QtInfoMsg)
