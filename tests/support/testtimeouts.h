// How long a test waits for another process or the event loop. An instrumented build (sanitizers) runs
// several times slower, and a loaded machine slower still: CTest gives such a build's tests
// NFCUI_TEST_TIMEOUT_SCALE in the environment (cmake/NfcuiTesting.cmake), and every limit a test waits
// up to is scaled by it. What is checked stays the same; only the patience changes.
#ifndef NFCUI_TESTTIMEOUTS_H
#define NFCUI_TESTTIMEOUTS_H

#include <QtGlobal>

namespace TestTimeouts {

// The factor: NFCUI_TEST_TIMEOUT_SCALE, or 1 when it is unset or not a number above 1.
inline int scale()
{
    bool ok = false;
    const int factor = qEnvironmentVariableIntValue("NFCUI_TEST_TIMEOUT_SCALE", &ok);
    return ok && factor > 1 ? factor : 1;
}

// A time limit in milliseconds, scaled for this build.
inline int scaled(int milliseconds)
{
    return milliseconds * scale();
}

} // namespace TestTimeouts

#endif
