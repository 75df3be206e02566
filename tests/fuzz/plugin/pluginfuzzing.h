#ifndef NFCUI_PLUGINFUZZING_H
#define NFCUI_PLUGINFUZZING_H

#include <QByteArray>
#include <QDir>

#include <cstddef>
#include <cstdint>

#include "fakeplatform.h"
#include "fuzzenvironment.h"
#include "ndefrecordhandler.h"

// The entry points of the targets that run the plugin's code over the fake platform. The first input
// byte holds the target's options, the rest is what a tag delivers; each target defines
// fuzzPluginInput(). Inputs above 1 MiB are left out: no tag holds that much.
void fuzzPluginInput(quint8 options, const QByteArray& bytes);

// What an input left behind goes before the next one, so that every input runs from the same state and
// a crash found in a campaign happens again when its input is replayed alone: the data files it saved,
// the calls it made of the fake platform, and the choices it remembered in the default application
// database of the private home (kept, that database would grow by every new record type for the whole
// campaign, and every input would read and write it whole).
inline void forgetInput()
{
    ConnUi::NdefRecordHandler::removePendingDataFiles();
    FakePlatform::clearCalls();
    QDir(QDir::homePath() + QStringLiteral("/.nfc")).removeRecursively();
}

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    initializeFuzzEnvironment(argc, argv);
    FakePlatform::reset();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1 || size > (1 << 20))
        return 0;
    fuzzPluginInput(data[0], QByteArray(reinterpret_cast<const char*>(data + 1), int(size - 1)));
    return 0;
}

#endif
