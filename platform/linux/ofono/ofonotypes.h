#ifndef NFCUI_OFONOTYPES_H
#define NFCUI_OFONOTYPES_H

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QList>
#include <QMetaType>
#include <QVariantMap>

// An oFono object with its properties, as GetModems and GetCalls list them (a(oa{sv})).
struct OfonoObject
{
    QDBusObjectPath path;
    QVariantMap properties;
};
using OfonoObjectList = QList<OfonoObject>;

QDBusArgument& operator<<(QDBusArgument& argument, const OfonoObject& object);
const QDBusArgument& operator>>(const QDBusArgument& argument, OfonoObject& object);

Q_DECLARE_METATYPE(OfonoObject)
Q_DECLARE_METATYPE(OfonoObjectList)

namespace Ofono {

inline const QString service = QStringLiteral("org.ofono");
inline const QString voiceCallManagerInterface = QStringLiteral("org.ofono.VoiceCallManager");
inline const QString messageManagerInterface = QStringLiteral("org.ofono.MessageManager");

// The modems oFono knows, in its order; empty without oFono. Registers the types above on first use.
// Blocks for at most the platform's time budget of one question.
OfonoObjectList modems();

// The first modem that lists interface among its Interfaces, else the first modem (the list may lag
// behind what the modem offers); nullptr when there is no modem.
const OfonoObject* modemFor(const OfonoObjectList& modems, const QString& interface);

// Opens uri with the desktop's default application for its scheme (x-scheme-handler/<scheme>).
// False, with a warning, when there is none; the program is started asynchronously, and a failure to
// start it is logged then.
bool openWithSchemeHandler(const QString& uri);

} // namespace Ofono

#endif
