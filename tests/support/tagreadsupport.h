#ifndef NFCUI_TAGREADSUPPORT_H
#define NFCUI_TAGREADSUPPORT_H

#include <QByteArray>
#include <QRegularExpression>
#include <QString>

#include "ndefmessagehandler.h"

// What the tag read suites hand to a request and expect of it.
namespace TagReadSupport {

// The notebook the notes application shows, where text from tags is stored.
extern const char notesNotebook[];

// An application registered for NDEF data, with its bus name and object made from its id.
ConnUi::NdefMessageHandler handler(const QString& id, bool foreground = false);

// The warning of a failed "openNote" call when the notes service is not on the bus; the error name and
// text come from the message bus.
QRegularExpression openNoteFailure();

// An NDEF message of one URI record.
QByteArray uriTag(const QString& uri);

} // namespace TagReadSupport

#endif
