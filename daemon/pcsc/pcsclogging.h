#ifndef NFCUI_PCSCLOGGING_H
#define NFCUI_PCSCLOGGING_H

#include <QLoggingCategory>

// The PC/SC tag source: readers, tags, reads and pcscd's comings and goings
// (QT_LOGGING_RULES="nfcui.daemon.pcsc.debug=true" adds every APDU).
Q_DECLARE_LOGGING_CATEGORY(lcPcsc)

#endif
