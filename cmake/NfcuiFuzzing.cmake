# nfcui_add_fuzzer(<name>
#                  SOURCES <file>...
#                  [LIBRARIES <target>...] [DEFINITIONS <definition>...]
#                  [SEEDS <generator arguments>...] [SMOKE_RUNS <n>])
#
# One fuzz target: a file defining LLVMFuzzerTestOneInput(). With clang and NFCUI_FUZZING on, it is
# a libFuzzer program (scripts/fuzz runs long campaigns with it); with any other compiler it is
# linked with a small driver that runs the inputs it is given, so the seeds are still replayed. Either
# way CTest runs it as fuzz.<name>: the seeds, then (libFuzzer) SMOKE_RUNS new inputs, under
# scripts/isolated like every test.
#
# SEEDS are the arguments of tests/fuzz/seeds that make the seed corpus: by default every message
# of the shared NDEF corpus, one file each. Later targets that read other bytes give their own.
function(nfcui_add_fuzzer name)
    cmake_parse_arguments(ARG "" "SMOKE_RUNS" "SOURCES;LIBRARIES;DEFINITIONS;SEEDS" ${ARGN})
    if(NOT ARG_SMOKE_RUNS)
        set(ARG_SMOKE_RUNS 20000)
    endif()
    if(NOT ARG_SEEDS)
        set(ARG_SEEDS ndef)
    endif()
    add_executable(${name} ${ARG_SOURCES})
    # One target builds them all (scripts/test builds only these in its fuzzing build).
    if(NOT TARGET nfcui_fuzzers)
        add_custom_target(nfcui_fuzzers)
    endif()
    add_dependencies(nfcui_fuzzers ${name})
    target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/fuzz/support)
    if(ARG_DEFINITIONS)
        target_compile_definitions(${name} PRIVATE ${ARG_DEFINITIONS})
    endif()
    if(NFCUI_FUZZING)
        target_link_options(${name} PRIVATE -fsanitize=fuzzer)
        set(mode libfuzzer)
    else()
        target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/fuzz/support/replaymain.cpp)
        set(mode replay)
    endif()
    # Where scripts/fuzz finds the program and how it makes its seeds.
    set_property(GLOBAL APPEND PROPERTY NFCUI_FUZZERS "${name}")
    file(WRITE ${CMAKE_BINARY_DIR}/fuzzers/${name}.seeds "${ARG_SEEDS}\n")
    file(GENERATE OUTPUT ${CMAKE_BINARY_DIR}/fuzzers/${name}.path CONTENT "$<TARGET_FILE:${name}>\n")
    add_test(NAME fuzz.${name}
             COMMAND ${PROJECT_SOURCE_DIR}/scripts/isolated ${PROJECT_SOURCE_DIR}/tests/fuzz/smoke
                     ${mode} $<TARGET_FILE:${name}> ${ARG_SMOKE_RUNS} ${ARG_SEEDS})
    set_tests_properties(fuzz.${name} PROPERTIES TIMEOUT 600 LABELS "fuzz"
                         ENVIRONMENT "NFCUI_NDEF_CORPUS_JSON=${NFCUI_FUZZ_CORPUS_JSON}")
endfunction()
