# SPDX-License-Identifier: GPL-3.0-or-later
# cmake -DTHEMES_DIR=<resources/Themes> -DOUTPUT=<file.cpp> -P EmbedThemes.cmake
# Writes the theme texts named in names.txt, in that order, as C++ raw string literals.
file(STRINGS ${THEMES_DIR}/names.txt lines)
set(body "")
set(count 0)
foreach(line IN LISTS lines)
    string(STRIP "${line}" name)
    if(NOT name OR name MATCHES "^#")
        continue()
    endif()
    file(READ ${THEMES_DIR}/${name}.json json)
    string(STRIP "${json}" json)
    string(FIND "${json}" ")bwtheme\"" clash)
    if(NOT clash EQUAL -1)
        message(FATAL_ERROR "${name}.json holds the literal delimiter")
    endif()
    string(APPEND body "    {\"${name}\", R\"bwtheme(${json})bwtheme\"},\n")
    math(EXPR count "${count} + 1")
endforeach()

set(text "// Generated from resources/Themes by EmbedThemes.cmake; do not edit.
#include \"SyntaxHighlight/BuiltInThemesData.h\"

namespace BuiltInThemesData {

const Entry entries[] = {
${body}};
const std::size_t count = ${count};

} // namespace BuiltInThemesData
")
# Rewrite only on change, so touching names.txt does not recompile for nothing.
if(EXISTS ${OUTPUT})
    file(READ ${OUTPUT} previous)
endif()
if(NOT "${previous}" STREQUAL "${text}")
    file(WRITE ${OUTPUT} "${text}")
endif()
