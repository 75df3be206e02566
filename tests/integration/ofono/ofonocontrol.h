#ifndef NFCUI_OFONOCONTROL_H
#define NFCUI_OFONOCONTROL_H

#include <QStringList>

#include "phonemocks.h"

// The oFono mock's calls and controls for the suites of the Linux oFono classes.
namespace OfonoControl {

inline bool setOnline(const MockService& mock, bool online)
{
    return mock.control(QStringLiteral("/"), QStringLiteral("org.freedesktop.DBus.Mock"),
                        QStringLiteral("SetModemOnline"), {QStringLiteral("ril_0"), online});
}

// The calls of method on the first modem, with their arguments.
inline QList<MockCall> callsOf(const MockService& mock, const QString& method)
{
    QList<MockCall> found;
    for (const MockCall& call : mock.calls(PhoneMocks::ofonoModemPath())) {
        if (call.method == method)
            found.append(call);
    }
    return found;
}

} // namespace OfonoControl

#endif
