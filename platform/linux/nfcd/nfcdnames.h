#ifndef NFCUI_NFCDNAMES_H
#define NFCUI_NFCDNAMES_H

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

// Errors of the UI agent.
constexpr const char AgentErrorRejected[] = "com.orvan.nfc.UIAgent.Rejected";
constexpr const char AgentErrorFailed[] = "com.orvan.nfc.UIAgent.Failed";
constexpr const char AgentErrorInvalidRequest[] = "com.orvan.nfc.UIAgent.InvalidRequest";
constexpr const char AgentErrorCanceled[] = "com.orvan.nfc.UIAgent.Canceled";

// Errors of the bus itself that the agent answers with.
constexpr const char BusErrorAccessDenied[] = "org.freedesktop.DBus.Error.AccessDenied";
constexpr const char BusErrorInvalidArgs[] = "org.freedesktop.DBus.Error.InvalidArgs";
constexpr const char BusErrorUnknownMethod[] = "org.freedesktop.DBus.Error.UnknownMethod";

} // namespace Nfcd

#endif
