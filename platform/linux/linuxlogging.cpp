#include "linuxlogging.h"

Q_LOGGING_CATEGORY(lcNfcd, "nfcui.linux.nfcd", QtInfoMsg)
Q_LOGGING_CATEGORY(lcBluez, "nfcui.linux.bluez", QtInfoMsg)
Q_LOGGING_CATEGORY(lcOfono, "nfcui.linux.ofono", QtInfoMsg)
Q_LOGGING_CATEGORY(lcSession, "nfcui.linux.session", QtInfoMsg)
Q_LOGGING_CATEGORY(lcNotifications, "nfcui.linux.notifications", QtInfoMsg)
Q_LOGGING_CATEGORY(lcDesktop, "nfcui.linux.desktop", QtInfoMsg)
Q_LOGGING_CATEGORY(lcFeedback, "nfcui.linux.feedback", QtInfoMsg)
