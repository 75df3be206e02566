// Text messages: not written yet. No message is sent.
#include "messagingif.h"
#include "linuxlogging.h"
#include "placeholder.h"

class MessagingIfPrivate
{
};

MessagingIf::MessagingIf(const QString&, QObject* parent)
    : QObject(parent), d(new MessagingIfPrivate)
{
}

MessagingIf::~MessagingIf()
{
    delete d;
}

bool MessagingIf::sendSMS(const QString&, const QString&, bool)
{
    nfcuiMissing(lcOfono(), "Text messages (MessagingIf)");
    return false;
}

bool MessagingIf::showSmsEditor(const QStringList&, const QString&, const QString&)
{
    nfcuiMissing(lcOfono(), "Text messages (MessagingIf)");
    return false;
}
