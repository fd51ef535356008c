# SPDX-License-Identifier: GPL-3.0-or-later
# Joins the Highlight.js core and its language grammars into the two script texts the
# engine evaluates. Run with -DPACKAGE_DIR=<cdn-assets folder> -DCORE_OUTPUT=... -DLANGUAGES_OUTPUT=...
file(READ "${PACKAGE_DIR}/highlight.min.js" core)
string(FIND "${core}" "Highlight.js v11.7.0" banner)
if(banner EQUAL -1)
    message(FATAL_ERROR "${PACKAGE_DIR}/highlight.min.js is not Highlight.js 11.7.0")
endif()
file(WRITE "${CORE_OUTPUT}.tmp" "${core}\n")

file(GLOB grammars "${PACKAGE_DIR}/languages/*.min.js")
list(SORT grammars)
list(LENGTH grammars count)
if(NOT count EQUAL 192)
    message(FATAL_ERROR "expected 192 language grammars, found ${count}")
endif()
file(WRITE "${LANGUAGES_OUTPUT}.tmp" "")
foreach(grammar IN LISTS grammars)
    file(READ "${grammar}" text)
    file(APPEND "${LANGUAGES_OUTPUT}.tmp" "${text}\n")
endforeach()

file(COPY_FILE "${CORE_OUTPUT}.tmp" "${CORE_OUTPUT}" ONLY_IF_DIFFERENT)
file(COPY_FILE "${LANGUAGES_OUTPUT}.tmp" "${LANGUAGES_OUTPUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${CORE_OUTPUT}.tmp" "${LANGUAGES_OUTPUT}.tmp")
