// Fake call and messaging services: every request is recorded.
#include "calluiserviceapi.h"
#include "fakeplatform.h"
#include "messagingif.h"

namespace CallUi {

class CallUiServiceApiPrivate
{
};

CallUiServiceApi::CallUiServiceApi(QObject* parent)
    : QObject(parent), d(new CallUiServiceApiPrivate)
{
}

CallUiServiceApi::~CallUiServiceApi()
{
    delete d;
}

bool CallUiServiceApi::RequestCellularCall(const QString& number)
{
    FakePlatform::record(QStringLiteral("CallUiServiceApi::RequestCellularCall"), {number});
    return true;
}

} // namespace CallUi

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
