#ifndef NFCUI_NDEF_DEFAULTSDATABASE_H
#define NFCUI_NDEF_DEFAULTSDATABASE_H

#include <QList>
#include <QPair>
#include <QString>

namespace NdefTool {

// The default application database of the record handler, read and written exactly in its format: a Qt
// data stream of version 12 holding a 32-bit count and that many (key, application) string pairs.
//
// Unlike the record handler, which takes a damaged file as empty, this class keeps the pairs that could
// be read before the damage and says that the file is damaged, so that nothing is written over it by
// accident.
class DefaultsDatabase
{
public:
    enum State {
        Missing, // no file yet: no remembered applications
        Good,
        Damaged, // the count promises more than the file holds, or a string is cut short
        Unreadable
    };

    // $HOME/.nfc/defaulttaghandlers, as the record handler uses it.
    static QString defaultPath();

    explicit DefaultsDatabase(const QString& path = defaultPath());

    QString path() const { return m_path; }
    State state() const { return m_state; }
    QString errorString() const { return m_error; }

    // Reads the file. A key that appears twice keeps the later application, as on lookup.
    void load();
    // The pairs read, in file order, each key once.
    QList<QPair<QString, QString>> entries() const { return m_entries; }
    bool contains(const QString& key) const;
    void remove(const QString& key);
    void clear() { m_entries.clear(); }

    // Rewrites the whole file (creating its directory), replacing it in one step.
    bool save();

    // The bytes of a database with these pairs, in the given order.
    static QByteArray serialize(const QList<QPair<QString, QString>>& entries);

private:
    QString m_path;
    State m_state = Missing;
    QString m_error;
    QList<QPair<QString, QString>> m_entries;
};

} // namespace NdefTool

#endif
