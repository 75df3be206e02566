# nfcui_add_test(<suite> <name>
#                SOURCES <file>...
#                [LIBRARIES <target>...] [DEFINITIONS <definition>...] [DEPENDS <target>...]
#                [ARGS <argument>...] [TIMEOUT <seconds>] [LABELS <label>...])
#
# Builds one QTest program and registers it with CTest as <suite>.<name>. Every test runs through
# scripts/isolated: its own private session and system bus and a temporary HOME and XDG tree, so
# that no test touches the machine's buses or the user's files and tests can run side by side.
#
# An instrumented build (NFCUI_SANITIZERS) runs its programs several times slower, and more so on a
# loaded machine: its tests get NFCUI_TEST_TIMEOUT_SCALE times the time, both CTest's TIMEOUT and what
# the tests themselves wait for (tests/support/testtimeouts.h reads it from the environment).
if(NFCUI_SANITIZERS)
    set(NFCUI_TEST_TIMEOUT_SCALE 4 CACHE STRING "How many times longer the tests may take")
else()
    set(NFCUI_TEST_TIMEOUT_SCALE 1 CACHE STRING "How many times longer the tests may take")
endif()

# Every test program makes a round trip on its default bus connections before it ends, so that no
# answer is still in Qt's D-Bus thread when the program goes (tests/support/flushbusesatexit.cpp).
add_library(nfcui_test_flushbuses OBJECT ${PROJECT_SOURCE_DIR}/tests/support/flushbusesatexit.cpp)
target_link_libraries(nfcui_test_flushbuses PUBLIC Qt5::Core Qt5::DBus)

function(nfcui_add_test suite name)
    cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LIBRARIES;DEFINITIONS;DEPENDS;ARGS;LABELS" ${ARGN})
    if(NOT ARG_SOURCES)
        message(FATAL_ERROR "nfcui_add_test(${suite} ${name}): no SOURCES")
    endif()
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES} nfcui_test_flushbuses Qt5::Test)
    if(ARG_DEFINITIONS)
        target_compile_definitions(${name} PRIVATE ${ARG_DEFINITIONS})
    endif()
    if(ARG_DEPENDS)
        add_dependencies(${name} ${ARG_DEPENDS})
    endif()
    add_test(NAME ${suite}.${name}
             COMMAND ${PROJECT_SOURCE_DIR}/scripts/isolated $<TARGET_FILE:${name}> ${ARG_ARGS})
    math(EXPR timeout "${ARG_TIMEOUT} * ${NFCUI_TEST_TIMEOUT_SCALE}")
    set_tests_properties(${suite}.${name} PROPERTIES TIMEOUT ${timeout} LABELS "${suite};${ARG_LABELS}"
                         ENVIRONMENT "NFCUI_TEST_TIMEOUT_SCALE=${NFCUI_TEST_TIMEOUT_SCALE}")
endfunction()
