#ifndef NFCUI_PLUGINFUZZING_H
#define NFCUI_PLUGINFUZZING_H

#include <QByteArray>

#include <cstddef>
#include <cstdint>

#include "fakeplatform.h"
#include "fuzzenvironment.h"

// The entry points of the targets that run the plugin's code over the fake platform. The first input
// byte holds the target's options, the rest is what a tag delivers; each target defines
// fuzzPluginInput(). Inputs above 1 MiB are left out: no tag holds that much.
void fuzzPluginInput(quint8 options, const QByteArray& bytes);

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
