# SPDX-License-Identifier: GPL-3.0-or-later
# Run when a test executable was built (cmake -DSETTINGS=<file> -P AddEachFunction.cmake): asks
# it for its test functions and writes their names, one a line, to the file that the test's
# ctest script reads to register each one as a test of its own (see tests/CMakeLists.txt).
cmake_minimum_required(VERSION 3.25)
include(${SETTINGS})

# The listing needs no display and must not report the leaks of a process that ran no test.
execute_process(
    COMMAND ${CMAKE_COMMAND} -E env ${ENVIRONMENT} QT_QPA_PLATFORM=offscreen
        ASAN_OPTIONS=detect_leaks=0 ${EXECUTABLE} -functions
    OUTPUT_VARIABLE listing
    ERROR_VARIABLE errors
    RESULT_VARIABLE result)

set(names "")
if(NOT result EQUAL 0)
    # A test that the suite runs must not vanish from this run because it cannot list itself:
    # the listing becomes the test, and fails where people look.
    message(WARNING "${EXECUTABLE} -functions failed (${result}): ${errors}")
    set(names "-functions\n")
else()
    string(REPLACE "\n" ";" lines "${listing}")
    foreach(line IN LISTS lines)
        if(line MATCHES "^([A-Za-z_][A-Za-z0-9_]*)\\(\\)$")
            string(APPEND names "${CMAKE_MATCH_1}\n")
        endif()
    endforeach()
endif()

file(WRITE ${OUTPUT} "${names}")
