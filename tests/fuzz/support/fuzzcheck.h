#ifndef NFCUI_FUZZCHECK_H
#define NFCUI_FUZZCHECK_H

#include <cstdio>
#include <cstdlib>

// A property every input must keep. A broken one stops the fuzzer with a crash it records, and
// says which property it was.
#define FUZZ_CHECK(condition)                                                                          \
    do {                                                                                               \
        if (!(condition)) {                                                                            \
            std::fprintf(stderr, "%s:%d: fuzz check failed: %s\n", __FILE__, __LINE__, #condition);    \
            std::abort();                                                                              \
        }                                                                                              \
    } while (false)

#endif
