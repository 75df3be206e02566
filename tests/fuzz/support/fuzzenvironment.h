#ifndef NFCUI_FUZZENVIRONMENT_H
#define NFCUI_FUZZENVIRONMENT_H

#include <QCoreApplication>
#include <QLoggingCategory>

// What the targets that run the plugin's code need once per process: an application object (for the
// event loop's timers and deferred deletes) and no log output (every hostile input warns, and
// printing millions of warnings would be the whole campaign).
inline void initializeFuzzEnvironment(int* argc, char*** argv)
{
    static QCoreApplication app(*argc, *argv);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
}

#endif
