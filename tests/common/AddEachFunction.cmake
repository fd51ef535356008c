# SPDX-License-Identifier: GPL-3.0-or-later
# Run after a test executable is built (cmake -DSETTINGS=<file> -P AddEachFunction.cmake): asks
# it for its test functions and writes the ctest script that registers each one as a test of
# its own, NAME.FUNCTION, with the whole test's command prefix, environment and timeout.
include(${SETTINGS})

# The listing needs no display and must not report the leaks of a process that ran no test.
execute_process(
    COMMAND ${CMAKE_COMMAND} -E env ${ENVIRONMENT} QT_QPA_PLATFORM=offscreen
        ASAN_OPTIONS=detect_leaks=0 ${EXECUTABLE} -functions
    OUTPUT_VARIABLE listing
    ERROR_VARIABLE errors
    RESULT_VARIABLE result)

set(script "# Generated from ${EXECUTABLE} -functions; rewritten at each build.\n")
set(command)
foreach(word IN LISTS PREFIX)
    string(APPEND command " [==[${word}]==]")
endforeach()
string(APPEND command " [==[${EXECUTABLE}]==]")

macro(add_function_test test_name arguments)
    string(APPEND script "add_test([==[${test_name}]==]${command}${arguments})\n"
        "set_tests_properties([==[${test_name}]==] PROPERTIES LABELS [==[${LABELS}]==] "
        "TIMEOUT ${TIMEOUT} ENVIRONMENT [==[${ENVIRONMENT}]==])\n")
endmacro()

if(NOT result EQUAL 0)
    # A test that the suite runs must not vanish from this run because it cannot list itself:
    # the listing becomes the test, and fails where people look.
    message(WARNING "${EXECUTABLE} -functions failed (${result}): ${errors}")
    add_function_test("${NAME}.functions" " -functions")
else()
    string(REPLACE "\n" ";" lines "${listing}")
    foreach(line IN LISTS lines)
        if(line MATCHES "^([A-Za-z_][A-Za-z0-9_]*)\\(\\)$")
            add_function_test("${NAME}.${CMAKE_MATCH_1}" " [==[${CMAKE_MATCH_1}]==]")
        endif()
    endforeach()
endif()

file(WRITE ${OUTPUT}.tmp "${script}")
file(COPY_FILE ${OUTPUT}.tmp ${OUTPUT} ONLY_IF_DIFFERENT)
file(REMOVE ${OUTPUT}.tmp)
