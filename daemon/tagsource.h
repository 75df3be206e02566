#ifndef NFCUI_TAGSOURCE_H
#define NFCUI_TAGSOURCE_H

#include <QByteArray>
#include <QObject>

// A source of tags for the daemon: PC/SC readers, or anything else that finds tags by itself. The
// daemon turns what a source reports into calls to the UI agent: a touch, then the delivery of the
// NDEF message, or a touch with the "cannot be read" status only.
class TagSource : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    ~TagSource() override = default;

    // Starts watching for tags. False when the source cannot run at all; a source that waits for its
    // service to appear returns true.
    virtual bool start() = 0;

Q_SIGNALS:
    // A tag was read: its identifier (empty when unknown) and the NDEF message it holds (empty for an
    // empty NDEF message).
    void tagRead(const QByteArray& uid, const QByteArray& ndef);
    // A tag is present but cannot be read as NDEF.
    void tagUnreadable(const QByteArray& uid);
};

#endif
