#include "tagreadsupport.h"

#include <QDBusObjectPath>

#include "ndefwriter.h"

namespace TagReadSupport {

const char notesNotebook[] = "66666666-7777-8888-9999-000000000000";

ConnUi::NdefMessageHandler handler(const QString& id, bool foreground)
{
    const QString path = QStringLiteral("/app/") + QString(id).replace(QLatin1Char('.'), QLatin1Char('_'));
    return ConnUi::NdefMessageHandler(id, QStringLiteral("com.example.") + id, QDBusObjectPath(path), foreground);
}

QRegularExpression openNoteFailure()
{
    return QRegularExpression(QStringLiteral("^NfcAgentTagReadRequest: Calling openNote\\(\\) fails: "
                                             "org\\.freedesktop\\.DBus\\.Error\\.\\w+ \\S.*$"));
}

QByteArray uriTag(const QString& uri)
{
    return NdefWriter::message({NdefWriter::uri(uri)});
}

} // namespace TagReadSupport
