#include "bluezmock.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>

namespace {

const QString mockInterface = QStringLiteral("org.bluez.Mock");

// The mock's own test controls end in the call log of "/" too.
bool isControl(const QString& method)
{
    static const QStringList controls {QStringLiteral("SetError"),      QStringLiteral("ClearErrors"),
                                       QStringLiteral("RemoveAdapter"), QStringLiteral("AddAdapter"),
                                       QStringLiteral("LeaveBusAfter"), QStringLiteral("SetAdapterProperty"),
                                       QStringLiteral("GetSignatures")};
    return controls.contains(method);
}

} // namespace

BluezMock::BluezMock()
    : m_service(new MockService(templatePath(), MockService::SystemBus, service(), managerPath()))
{
}

BluezMock::~BluezMock() = default;

QString BluezMock::templatePath()
{
    const QString fromEnvironment = qEnvironmentVariable("NFCUI_BLUEZ4_MOCK");
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;
    return MockService::projectTemplate(QStringLiteral("bluez4.py"));
}

bool BluezMock::isOnBus()
{
    QDBusConnectionInterface* bus = QDBusConnection::systemBus().interface();
    return bus && bus->isServiceRegistered(service()).value();
}

bool BluezMock::keepError(bool ok) const
{
    if (!ok)
        m_lastError = m_service->lastError();
    return ok;
}

bool BluezMock::start(const QVariantMap& parameters)
{
    m_lastError.clear();
    m_parameters = parameters;
    return keepError(m_service->start(parameters));
}

void BluezMock::stop()
{
    m_service->stop();
}

bool BluezMock::isRunning() const
{
    return m_service->isRunning();
}

// Reset loads the template again, which also empties the call logs of every object.
bool BluezMock::reset()
{
    m_lastError.clear();
    if (!isRunning() || !isOnBus())
        return start(m_parameters);
    return keepError(m_service->reset());
}

bool BluezMock::control(const QString& method, const QVariantList& args)
{
    return keepError(m_service->control(managerPath(), mockInterface, method, args));
}

bool BluezMock::setError(const QString& method, const QString& errorName, const QString& message)
{
    return control(QStringLiteral("SetError"), {method, errorName, message});
}

bool BluezMock::clearErrors()
{
    return control(QStringLiteral("ClearErrors"), {});
}

bool BluezMock::removeAdapter()
{
    return control(QStringLiteral("RemoveAdapter"), {});
}

bool BluezMock::leaveBusAfter(const QString& method)
{
    return control(QStringLiteral("LeaveBusAfter"), {method});
}

bool BluezMock::setAdapterProperty(const QString& name, const QVariant& value)
{
    return control(QStringLiteral("SetAdapterProperty"), {name, QVariant::fromValue(QDBusVariant(value))});
}

QList<BluezMock::Call> BluezMock::calls(const QString& path) const
{
    QList<Call> result;
    const QList<MockCall> all = m_service->calls(path);
    if (all.isEmpty())
        m_lastError = m_service->lastError();
    for (const MockCall& call : all) {
        if (!isControl(call.method))
            result.append(call);
    }
    return result;
}

bool BluezMock::clearCalls(const QString& path)
{
    return keepError(m_service->clearCalls(path));
}

QStringList BluezMock::signatures(const QString& method) const
{
    const QDBusMessage reply = m_service->call(managerPath(), mockInterface, QStringLiteral("GetSignatures"), {method});
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        m_lastError = reply.errorName() + QLatin1String(": ") + reply.errorMessage();
        return QStringList();
    }
    return reply.arguments().first().toStringList();
}

QVariantMap BluezMock::adapterProperties() const
{
    const QDBusMessage reply =
        m_service->call(adapterPath(), QStringLiteral("org.bluez.Adapter"), QStringLiteral("GetProperties"));
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        m_lastError = reply.errorName() + QLatin1String(": ") + reply.errorMessage();
        return QVariantMap();
    }
    return unwrapDBusValue(reply.arguments().first()).toMap();
}
