#include "bluezmock.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QThread>

namespace {

const char mockInterface[] = "org.bluez.Mock";
const char dbusmockInterface[] = "org.freedesktop.DBus.Mock";

// The mock's own test controls end in the call log of "/" too.
bool isControl(const QString& method)
{
    static const QStringList controls {QStringLiteral("SetError"),      QStringLiteral("ClearErrors"),
                                       QStringLiteral("RemoveAdapter"), QStringLiteral("AddAdapter"),
                                       QStringLiteral("LeaveBusAfter"), QStringLiteral("SetAdapterProperty"),
                                       QStringLiteral("GetSignatures")};
    return controls.contains(method);
}

QVariant unwrap(const QVariant& value)
{
    if (value.userType() == qMetaTypeId<QDBusVariant>())
        return unwrap(value.value<QDBusVariant>().variant());
    return value;
}

QDBusMessage callMock(const QString& path, const char* interface, const QString& method,
                      const QVariantList& args = QVariantList())
{
    QDBusMessage message
        = QDBusMessage::createMethodCall(BluezMock::service(), path, QString::fromLatin1(interface), method);
    message.setArguments(args);
    message.setAutoStartService(false);
    return QDBusConnection::systemBus().call(message, QDBus::Block, 10000);
}

} // namespace

BluezMock::BluezMock() : m_process(nullptr) { }

BluezMock::~BluezMock()
{
    stop();
}

QString BluezMock::templatePath()
{
    const QString fromEnvironment = qEnvironmentVariable("NFCUI_BLUEZ4_MOCK");
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;
    return QStringLiteral(NFCUI_MOCKS_DIR "/bluez4.py");
}

bool BluezMock::isOnBus()
{
    QDBusConnectionInterface* bus = QDBusConnection::systemBus().interface();
    return bus && bus->isServiceRegistered(service()).value();
}

bool BluezMock::waitForName(bool present, int timeoutMs) const
{
    QDeadlineTimer deadline(timeoutMs);
    while (isOnBus() != present) {
        if (deadline.hasExpired())
            return false;
        QThread::msleep(20);
    }
    return true;
}

bool BluezMock::start(const QVariantMap& parameters)
{
    stop();
    m_lastError.clear();
    m_parameters = parameters;

    // Never onto the machine's own system bus: only on the private one of scripts/with-private-buses.
    if (!qEnvironmentVariableIsSet("NFCUI_PRIVATE_BUSES")) {
        m_lastError = QStringLiteral("not on private buses: run the test through scripts/isolated");
        return false;
    }
    if (!QDBusConnection::systemBus().isConnected()) {
        m_lastError = QStringLiteral("no system bus");
        return false;
    }
    if (isOnBus()) {
        m_lastError = QStringLiteral("org.bluez is already owned on this system bus");
        return false;
    }

    QStringList arguments {QStringLiteral("-m"), QStringLiteral("dbusmock"), QStringLiteral("--template"),
                           templatePath(), QStringLiteral("--system")};
    if (!parameters.isEmpty()) {
        arguments << QStringLiteral("--parameters")
                  << QString::fromUtf8(
                         QJsonDocument(QJsonObject::fromVariantMap(parameters)).toJson(QJsonDocument::Compact));
    }

    m_process = new QProcess;
    // The mock logs every call on standard output; only its complaints are of interest.
    m_process->setStandardOutputFile(QProcess::nullDevice());
    m_process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process->start(QStringLiteral("/usr/bin/python3"), arguments);
    if (!m_process->waitForStarted(10000)) {
        m_lastError = QStringLiteral("could not start /usr/bin/python3: ") + m_process->errorString();
        delete m_process;
        m_process = nullptr;
        return false;
    }

    if (!waitForName(true, 20000)) {
        m_lastError = QStringLiteral("the mock did not take org.bluez");
        stop();
        return false;
    }
    // The mock takes the name before it loads the template; its first answer comes after that.
    const QDBusMessage ping = callMock(managerPath(), dbusmockInterface, QStringLiteral("GetCalls"));
    if (ping.type() != QDBusMessage::ReplyMessage) {
        m_lastError = QStringLiteral("the mock does not answer: ") + ping.errorMessage();
        stop();
        return false;
    }
    return true;
}

void BluezMock::stop()
{
    if (!m_process)
        return;
    if (m_process->state() != QProcess::NotRunning) {
        m_process->terminate();
        if (!m_process->waitForFinished(5000)) {
            m_process->kill();
            m_process->waitForFinished(5000);
        }
    }
    delete m_process;
    m_process = nullptr;
    waitForName(false, 5000);
}

bool BluezMock::isRunning() const
{
    return m_process && m_process->state() == QProcess::Running;
}

bool BluezMock::reset()
{
    m_lastError.clear();
    if (!isRunning() || !isOnBus())
        return start(m_parameters);

    // Reset loads the template again, which also empties the call logs of every object.
    const QDBusMessage reply = callMock(managerPath(), dbusmockInterface, QStringLiteral("Reset"));
    if (reply.type() != QDBusMessage::ReplyMessage) {
        m_lastError = reply.errorName() + QLatin1String(": ") + reply.errorMessage();
        return false;
    }
    return callMock(managerPath(), dbusmockInterface, QStringLiteral("ClearCalls")).type()
           == QDBusMessage::ReplyMessage;
}

bool BluezMock::control(const QString& method, const QVariantList& args)
{
    const QDBusMessage reply = callMock(managerPath(), mockInterface, method, args);
    if (reply.type() != QDBusMessage::ReplyMessage) {
        m_lastError = reply.errorName() + QLatin1String(": ") + reply.errorMessage();
        return false;
    }
    return true;
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
    const QDBusMessage reply = callMock(path, dbusmockInterface, QStringLiteral("GetCalls"));
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        m_lastError = reply.errorName() + QLatin1String(": ") + reply.errorMessage();
        return result;
    }

    // a(tsav): timestamp, method, arguments
    const QDBusArgument log = reply.arguments().first().value<QDBusArgument>();
    log.beginArray();
    while (!log.atEnd()) {
        quint64 timestamp = 0;
        Call call;
        log.beginStructure();
        log >> timestamp >> call.method;
        log.beginArray();
        while (!log.atEnd()) {
            QDBusVariant argument;
            log >> argument;
            call.args.append(unwrap(argument.variant()));
        }
        log.endArray();
        log.endStructure();
        if (!isControl(call.method))
            result.append(call);
    }
    log.endArray();
    return result;
}

bool BluezMock::clearCalls(const QString& path)
{
    const QDBusMessage reply = callMock(path, dbusmockInterface, QStringLiteral("ClearCalls"));
    if (reply.type() != QDBusMessage::ReplyMessage) {
        m_lastError = reply.errorName() + QLatin1String(": ") + reply.errorMessage();
        return false;
    }
    return true;
}

QStringList BluezMock::signatures(const QString& method) const
{
    const QDBusMessage reply = callMock(managerPath(), mockInterface, QStringLiteral("GetSignatures"), {method});
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        m_lastError = reply.errorName() + QLatin1String(": ") + reply.errorMessage();
        return QStringList();
    }
    return reply.arguments().first().toStringList();
}

QVariantMap BluezMock::adapterProperties() const
{
    QVariantMap result;
    const QDBusMessage reply = callMock(adapterPath(), "org.bluez.Adapter", QStringLiteral("GetProperties"));
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        m_lastError = reply.errorName() + QLatin1String(": ") + reply.errorMessage();
        return result;
    }
    const QDBusArgument map = reply.arguments().first().value<QDBusArgument>();
    map.beginMap();
    while (!map.atEnd()) {
        QString key;
        QDBusVariant value;
        map.beginMapEntry();
        map >> key >> value;
        map.endMapEntry();
        result.insert(key, unwrap(value.variant()));
    }
    map.endMap();
    return result;
}
