#ifndef NFCUI_NFCDNAMES_H
#define NFCUI_NFCDNAMES_H

#include <QChar>
#include <QString>
#include <QStringList>

// The names of the NFC daemon link on the system bus, shared by the agent side (platform/linux/nfcd),
// the daemon, the tools and the tests. data/dbus/com.orvan.nfc.*.xml describes the interfaces.
namespace Nfcd {

// The daemon.
constexpr const char ServiceName[] = "com.orvan.nfc";
constexpr const char ManagerPath[] = "/";
constexpr const char ManagerInterface[] = "com.orvan.nfc.Manager";
constexpr const char AdapterPathPrefix[] = "/com/orvan/nfc/adapter";
constexpr const char DefaultAdapterPath[] = "/com/orvan/nfc/adapter0";
constexpr const char AdapterInterface[] = "com.orvan.nfc.Adapter";
constexpr const char SimulatorPath[] = "/com/orvan/nfc/simulator";
constexpr const char SimulatorInterface[] = "com.orvan.nfc.Simulator";

// Adapter properties.
constexpr const char PoweredProperty[] = "Powered";
constexpr const char ConfirmationEnabledProperty[] = "ConfirmationEnabled";

// The UI agent, exported by the user interface.
constexpr const char AgentPath[] = "/com/orvan/nfc/ui_agent";
constexpr const char AgentInterface[] = "com.orvan.nfc.UIAgent";

// Applications registered for NDEF data.
constexpr const char NdefHandlerInterface[] = "com.orvan.nfc.NdefHandler";

// Touch status of NotifyTouch.
constexpr int TouchRead = 0;
constexpr int TouchUnreadable = 1;

// Errors of the daemon.
constexpr const char ErrorNoAdapter[] = "com.orvan.nfc.Error.NoAdapter";
constexpr const char ErrorNoAgent[] = "com.orvan.nfc.Error.NoAgent";
constexpr const char ErrorInvalidArguments[] = "com.orvan.nfc.Error.InvalidArguments";
constexpr const char ErrorNotRegistered[] = "com.orvan.nfc.Error.NotRegistered";
constexpr const char ErrorReadOnly[] = "com.orvan.nfc.Error.ReadOnly";
constexpr const char ErrorNotSupported[] = "com.orvan.nfc.Error.NotSupported";
constexpr const char ErrorSuperseded[] = "com.orvan.nfc.Error.Superseded";

// Errors of the UI agent.
constexpr const char AgentErrorRejected[] = "com.orvan.nfc.UIAgent.Rejected";
constexpr const char AgentErrorFailed[] = "com.orvan.nfc.UIAgent.Failed";
constexpr const char AgentErrorInvalidRequest[] = "com.orvan.nfc.UIAgent.InvalidRequest";
constexpr const char AgentErrorCanceled[] = "com.orvan.nfc.UIAgent.Canceled";

// Errors of the bus itself that the agent answers with.
constexpr const char BusErrorAccessDenied[] = "org.freedesktop.DBus.Error.AccessDenied";
constexpr const char BusErrorInvalidArgs[] = "org.freedesktop.DBus.Error.InvalidArgs";
constexpr const char BusErrorUnknownMethod[] = "org.freedesktop.DBus.Error.UnknownMethod";

// Checks of names that arrive from outside, as the bus itself defines them: a malformed name would
// make QtDBus refuse the message, or assert.
inline bool isNameElementChar(QChar c, bool first, bool allowDigitFirst, bool allowHyphen)
{
    const ushort u = c.unicode();
    if ((u >= 'A' && u <= 'Z') || (u >= 'a' && u <= 'z') || u == '_')
        return true;
    if (u >= '0' && u <= '9')
        return !first || allowDigitFirst;
    return allowHyphen && u == '-';
}

// Dot-separated elements of a bus, interface or error name: two or more, none empty, of the
// characters the kind of name allows.
inline bool areValidNameElements(const QString& name, bool allowDigitFirst, bool allowHyphen)
{
    if (name.isEmpty() || name.size() > 255)
        return false;
    const QStringList elements = name.split(QLatin1Char('.'));
    if (elements.size() < 2)
        return false;
    for (const QString& element : elements) {
        if (element.isEmpty())
            return false;
        for (int i = 0; i < element.size(); ++i) {
            if (!isNameElementChar(element.at(i), i == 0, allowDigitFirst, allowHyphen))
                return false;
        }
    }
    return true;
}

// An interface or error name: two or more dot-separated elements, none starting with a digit.
inline bool isValidErrorName(const QString& name)
{
    return areValidNameElements(name, false, false);
}

// A unique (":1.42") or well-known ("com.example.App") bus name.
inline bool isValidBusName(const QString& name)
{
    if (name.isEmpty() || name.size() > 255)
        return false;
    const bool unique = name.startsWith(QLatin1Char(':'));
    return areValidNameElements(name.mid(unique ? 1 : 0), unique, true);
}

// "/" or "/element/element", each element of [A-Za-z0-9_].
inline bool isValidObjectPath(const QString& path)
{
    if (path == QLatin1String("/"))
        return true;
    if (!path.startsWith(QLatin1Char('/')) || path.endsWith(QLatin1Char('/')))
        return false;
    const QStringList elements = path.mid(1).split(QLatin1Char('/'));
    for (const QString& element : elements) {
        if (element.isEmpty())
            return false;
        for (QChar c : element) {
            if (!isNameElementChar(c, false, true, false))
                return false;
        }
    }
    return true;
}

} // namespace Nfcd

#endif
