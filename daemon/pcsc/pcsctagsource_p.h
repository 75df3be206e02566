#ifndef NFCUI_PCSCTAGSOURCE_P_H
#define NFCUI_PCSCTAGSOURCE_P_H

#include <QStringList>
#include <QThread>

#include <memory>

class PcscWatcher;

class PcscTagSourcePrivate
{
public:
    std::unique_ptr<QThread> thread;
    PcscWatcher* watcher = nullptr; // lives in thread, deleted when it finishes
    QStringList readers;
    bool connected = false;
};

#endif
