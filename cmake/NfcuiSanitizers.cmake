# Instrumented builds, each in a build directory of its own (scripts/test, .ci/run):
#   NFCUI_SANITIZERS  everything built with AddressSanitizer (with LeakSanitizer) and
#                     UndefinedBehaviorSanitizer; any undefined behaviour stops the program.
#   NFCUI_FUZZING     the fuzz targets in tests/fuzz become libFuzzer programs, and everything they
#                     link is instrumented for coverage. Needs clang and its runtime (libclang-rt-dev).
option(NFCUI_SANITIZERS "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
option(NFCUI_FUZZING "Build the fuzz targets as libFuzzer programs (clang)" OFF)

if(NFCUI_SANITIZERS)
    # The vptr check is left out: it probes memory through a pipe, which fails, and reports an error,
    # while the tests that exhaust the descriptors on purpose run.
    add_compile_options(-fsanitize=address,undefined -fno-sanitize=vptr -fno-sanitize-recover=undefined
                        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
endif()

if(NFCUI_FUZZING)
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        message(FATAL_ERROR "NFCUI_FUZZING needs clang (CXX=clang++); this is ${CMAKE_CXX_COMPILER_ID}")
    endif()
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()
