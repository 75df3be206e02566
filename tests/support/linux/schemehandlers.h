#ifndef NFCUI_SCHEMEHANDLERS_H
#define NFCUI_SCHEMEHANDLERS_H

#include <QString>
#include <QStringList>

// Recording applications for URI schemes, as GIO finds them: for each scheme a desktop entry in
// XDG_DATA_HOME/applications that handles x-scheme-handler/<scheme> and is the default for it in
// XDG_CONFIG_HOME/mimeapps.list. Its program appends every URI it is started with to a log.
//
// isolate() must run before the first use of GIO in the process: it hides the machine's applications
// (XDG_DATA_DIRS) so that only the recorders handle anything.
class SchemeHandlers
{
public:
    // Scripts and logs go into dir.
    explicit SchemeHandlers(const QString& dir) : m_dir(dir) { }

    // Returns an error message, or an empty string.
    static QString isolate(const QString& dir);

    // Installs the recorder of scheme; returns an error message, or an empty string.
    QString install(const QString& scheme);
    // Whether GIO already finds an application for scheme. GIO notices new desktop entries from its event
    // loop, so a test waits for this (QTRY_VERIFY) after install() when GIO was asked about the scheme before.
    static bool isHandled(const QString& scheme);
    // The URIs the recorder of scheme was started with, in order.
    QStringList opened(const QString& scheme) const;

private:
    QString logFile(const QString& scheme) const;
    QString m_dir;
};

#endif
