#include "mockservice.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusConnectionInterface>
#include <QDBusObjectPath>
#include <QDBusSignature>
#include <QDBusVariant>
#include <QDeadlineTimer>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QThread>

namespace {

const char dbusmockInterface[] = "org.freedesktop.DBus.Mock";
const char python[] = "/usr/bin/python3";
const int startTimeoutMs = 20000;
const int stopTimeoutMs = 5000;
const int callTimeoutMs = 10000;

QVariant demarshal(const QDBusArgument& argument);

QVariant demarshalElement(const QDBusArgument& argument)
{
    switch (argument.currentType()) {
    case QDBusArgument::BasicType: {
        const QVariant value = argument.asVariant();
        if (value.userType() == qMetaTypeId<QDBusObjectPath>())
            return value.value<QDBusObjectPath>().path();
        if (value.userType() == qMetaTypeId<QDBusSignature>())
            return value.value<QDBusSignature>().signature();
        return value;
    }
    case QDBusArgument::VariantType: {
        QDBusVariant variant;
        argument >> variant;
        return unwrapDBusValue(variant.variant());
    }
    default:
        return demarshal(argument);
    }
}

QVariant demarshal(const QDBusArgument& argument)
{
    switch (argument.currentType()) {
    case QDBusArgument::ArrayType: {
        QVariantList list;
        argument.beginArray();
        while (!argument.atEnd())
            list.append(demarshalElement(argument));
        argument.endArray();
        return list;
    }
    case QDBusArgument::StructureType: {
        QVariantList fields;
        argument.beginStructure();
        while (!argument.atEnd())
            fields.append(demarshalElement(argument));
        argument.endStructure();
        return fields;
    }
    case QDBusArgument::MapType: {
        QVariantMap map;
        argument.beginMap();
        while (!argument.atEnd()) {
            argument.beginMapEntry();
            const QVariant key = demarshalElement(argument);
            const QVariant value = demarshalElement(argument);
            argument.endMapEntry();
            map.insert(key.toString(), value);
        }
        argument.endMap();
        return map;
    }
    default:
        return demarshalElement(argument);
    }
}

QString describe(const QDBusMessage& reply)
{
    return reply.errorName() + QLatin1String(": ") + reply.errorMessage();
}

} // namespace

QDBusArgument& operator<<(QDBusArgument& argument, const MockMethod& method)
{
    argument.beginStructure();
    argument << method.name << method.inSignature << method.outSignature << method.code;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, MockMethod& method)
{
    argument.beginStructure();
    argument >> method.name >> method.inSignature >> method.outSignature >> method.code;
    argument.endStructure();
    return argument;
}

QVariant unwrapDBusValue(const QVariant& value)
{
    if (value.userType() == qMetaTypeId<QDBusVariant>())
        return unwrapDBusValue(value.value<QDBusVariant>().variant());
    if (value.userType() == qMetaTypeId<QDBusArgument>())
        return demarshal(value.value<QDBusArgument>());
    if (value.userType() == qMetaTypeId<QDBusObjectPath>())
        return value.value<QDBusObjectPath>().path();
    return value;
}

MockService::MockService(const QString& templateName, Bus bus, const QString& busName, const QString& mainPath)
    : m_template(templateName), m_bus(bus), m_busName(busName), m_mainPath(mainPath)
{
}

MockService::~MockService()
{
    stop();
}

QString MockService::projectTemplate(const QString& fileName)
{
    return QStringLiteral(NFCUI_MOCKS_DIR "/") + fileName;
}

QDBusConnection MockService::connection() const
{
    return m_bus == SystemBus ? QDBusConnection::systemBus() : QDBusConnection::sessionBus();
}

bool MockService::isOnBus() const
{
    QDBusConnectionInterface* bus = connection().interface();
    return bus && bus->isServiceRegistered(m_busName).value();
}

bool MockService::waitForName(bool present, int timeoutMs) const
{
    QDeadlineTimer deadline(timeoutMs);
    while (isOnBus() != present) {
        if (deadline.hasExpired())
            return false;
        if (present) {
            // Waiting on the process also notices when it ends, which its state alone would not
            // without an event loop.
            if (!m_process || m_process->state() == QProcess::NotRunning || m_process->waitForFinished(20))
                return false;
        } else {
            QThread::msleep(20);
        }
    }
    return true;
}

bool MockService::start(const QVariantMap& parameters)
{
    stop();
    m_lastError.clear();

    // Never onto the machine's own buses: only onto the private ones of scripts/with-private-buses.
    if (!qEnvironmentVariableIsSet("NFCUI_PRIVATE_BUSES")) {
        m_lastError = QStringLiteral("not on private buses: run the test through scripts/isolated");
        return false;
    }
    if (!connection().isConnected()) {
        m_lastError = QStringLiteral("no %1 bus").arg(m_bus == SystemBus ? "system" : "session");
        return false;
    }
    if (!QFileInfo::exists(QLatin1String(python))) {
        m_lastError = QStringLiteral("%1 is missing (apt-get install python3)").arg(QLatin1String(python));
        return false;
    }
    if (isOnBus()) {
        m_lastError = m_busName + QStringLiteral(" is already owned on this bus");
        return false;
    }

    QStringList arguments {QStringLiteral("-m"), QStringLiteral("dbusmock"), QStringLiteral("--template"), m_template};
    if (m_bus == SystemBus)
        arguments << QStringLiteral("--system");
    if (!parameters.isEmpty()) {
        arguments << QStringLiteral("--parameters")
                  << QString::fromUtf8(
                         QJsonDocument(QJsonObject::fromVariantMap(parameters)).toJson(QJsonDocument::Compact));
    }

    m_process = new QProcess;
    // The mock logs every call on standard output; only its complaints are of interest.
    m_process->setStandardOutputFile(QProcess::nullDevice());
    m_process->start(QLatin1String(python), arguments);
    if (!m_process->waitForStarted(startTimeoutMs)) {
        m_lastError = QStringLiteral("could not start %1: %2").arg(QLatin1String(python), m_process->errorString());
        stop();
        return false;
    }
    if (!waitForName(true, startTimeoutMs)) {
        m_process->waitForFinished(1000);
        const QString complaint = QString::fromLocal8Bit(m_process->readAllStandardError()).trimmed();
        if (complaint.contains(QLatin1String("No module named dbusmock")))
            m_lastError = QStringLiteral("python-dbusmock is missing (apt-get install python3-dbusmock)");
        else
            m_lastError = QStringLiteral("the mock (%1) did not take %2: %3").arg(m_template, m_busName, complaint);
        stop();
        return false;
    }
    // The mock takes its name before it loads the template; its first answer comes after that.
    const QDBusMessage ping = call(m_mainPath, QLatin1String(dbusmockInterface), QStringLiteral("GetCalls"));
    if (ping.type() != QDBusMessage::ReplyMessage) {
        m_lastError = QStringLiteral("the mock does not answer: ") + describe(ping);
        stop();
        return false;
    }
    // Forward the mock's later complaints (template errors) to the test's output.
    QObject::connect(m_process, &QProcess::readyReadStandardError, m_process, [process = m_process] {
        fputs(process->readAllStandardError().constData(), stderr);
    });
    return true;
}

void MockService::stop()
{
    if (!m_process)
        return;
    if (m_process->state() != QProcess::NotRunning) {
        m_process->terminate();
        if (!m_process->waitForFinished(stopTimeoutMs)) {
            m_process->kill();
            m_process->waitForFinished(stopTimeoutMs);
        }
    }
    delete m_process;
    m_process = nullptr;
    waitForName(false, stopTimeoutMs);
}

bool MockService::isRunning() const
{
    return m_process && m_process->state() == QProcess::Running;
}

QDBusMessage MockService::call(const QString& path, const QString& interface, const QString& method,
                               const QVariantList& args) const
{
    QDBusMessage message = QDBusMessage::createMethodCall(m_busName, path, interface, method);
    message.setArguments(args);
    message.setAutoStartService(false);
    return connection().call(message, QDBus::Block, callTimeoutMs);
}

bool MockService::control(const QString& path, const QString& interface, const QString& method,
                          const QVariantList& args) const
{
    const QDBusMessage reply = call(path, interface, method, args);
    if (reply.type() != QDBusMessage::ReplyMessage) {
        m_lastError = describe(reply);
        return false;
    }
    return true;
}

QList<MockCall> MockService::calls(const QString& path) const
{
    QList<MockCall> result;
    const QDBusMessage reply = call(path, QLatin1String(dbusmockInterface), QStringLiteral("GetCalls"));
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        m_lastError = describe(reply);
        return result;
    }
    // a(tsav): timestamp, method, arguments
    const QDBusArgument log = reply.arguments().first().value<QDBusArgument>();
    log.beginArray();
    while (!log.atEnd()) {
        quint64 timestamp = 0;
        MockCall entry;
        log.beginStructure();
        log >> timestamp >> entry.method;
        log.beginArray();
        while (!log.atEnd()) {
            QDBusVariant argument;
            log >> argument;
            entry.args.append(unwrapDBusValue(argument.variant()));
        }
        log.endArray();
        log.endStructure();
        result.append(entry);
    }
    log.endArray();
    return result;
}

QStringList MockService::callNames(const QString& path) const
{
    QStringList names;
    for (const MockCall& entry : calls(path))
        names.append(entry.method);
    return names;
}

bool MockService::clearCalls(const QString& path) const
{
    return control(path, QLatin1String(dbusmockInterface), QStringLiteral("ClearCalls"));
}

bool MockService::addMethod(const QString& path, const QString& interface, const QString& name,
                            const QString& inSignature, const QString& outSignature, const QString& code) const
{
    return control(path, QLatin1String(dbusmockInterface), QStringLiteral("AddMethod"),
                   {interface, name, inSignature, outSignature, code});
}

bool MockService::addObject(const QString& path, const QString& interface, const QVariantMap& properties,
                            const QList<MockMethod>& methods) const
{
    qDBusRegisterMetaType<MockMethod>();
    qDBusRegisterMetaType<QList<MockMethod>>();
    return control(m_mainPath, QLatin1String(dbusmockInterface), QStringLiteral("AddObject"),
                   {path, interface, properties, QVariant::fromValue(methods)});
}

bool MockService::emitSignal(const QString& path, const QString& interface, const QString& name,
                             const QString& signature, const QVariantList& args) const
{
    QVariantList wrapped;
    for (const QVariant& arg : args)
        wrapped.append(QVariant::fromValue(QDBusVariant(arg)));
    return control(path, QLatin1String(dbusmockInterface), QStringLiteral("EmitSignal"),
                   {interface, name, signature, wrapped});
}

bool MockService::reset() const
{
    return control(m_mainPath, QLatin1String(dbusmockInterface), QStringLiteral("Reset")) && clearCalls(m_mainPath);
}
