// Fake messaging service: every request is recorded.
#include "fakeplatform.h"
#include "messagingif.h"

class MessagingIfPrivate
{
};

MessagingIf::MessagingIf(const QString& service, QObject* parent)
    : QObject(parent), d(new MessagingIfPrivate)
{
    FakePlatform::record(QStringLiteral("MessagingIf::MessagingIf"), {service});
}

MessagingIf::~MessagingIf()
{
    delete d;
}

bool MessagingIf::sendSMS(const QString& number, const QString& body, bool store)
{
    FakePlatform::record(QStringLiteral("MessagingIf::sendSMS"), {number, body, store});
    return true;
}

bool MessagingIf::showSmsEditor(const QStringList& recipients, const QString& body, const QString& attachment)
{
    FakePlatform::record(QStringLiteral("MessagingIf::showSmsEditor"), {recipients, body, attachment});
    return true;
}
