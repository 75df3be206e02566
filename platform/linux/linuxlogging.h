#ifndef NFCUI_LINUXLOGGING_H
#define NFCUI_LINUXLOGGING_H

#include <QLoggingCategory>

// One logging category per outside service of the Linux platform, so that each can be switched on
// with QT_LOGGING_RULES ("nfcui.linux.bluez.debug=true").
Q_DECLARE_LOGGING_CATEGORY(lcNfcd)
Q_DECLARE_LOGGING_CATEGORY(lcBluez)
Q_DECLARE_LOGGING_CATEGORY(lcOfono)
Q_DECLARE_LOGGING_CATEGORY(lcSession)
Q_DECLARE_LOGGING_CATEGORY(lcNotifications)
Q_DECLARE_LOGGING_CATEGORY(lcDesktop)
Q_DECLARE_LOGGING_CATEGORY(lcFeedback)

#endif
