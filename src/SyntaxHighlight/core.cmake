# SPDX-License-Identifier: GPL-3.0-or-later
target_sources(brambleworth_core PRIVATE
    SyntaxHighlight/BuiltInThemes.cpp
    SyntaxHighlight/BuiltInThemes.h
    SyntaxHighlight/BuiltInThemesData.h
    SyntaxHighlight/ClassRangeNode.cpp
    SyntaxHighlight/ClassRangeNode.h
    SyntaxHighlight/CompiledPattern.cpp
    SyntaxHighlight/CompiledPattern.h
    SyntaxHighlight/Color.cpp
    SyntaxHighlight/Color.h
    SyntaxHighlight/CSSColors.cpp
    SyntaxHighlight/CSSColors.h
    SyntaxHighlight/GraphemeCount.cpp
    SyntaxHighlight/GraphemeCount.h
    SyntaxHighlight/HighlightAttributedString.cpp
    SyntaxHighlight/HighlightAttributedString.h
    SyntaxHighlight/HighlightedHTMLParser.cpp
    SyntaxHighlight/HighlightedHTMLParser.h
    SyntaxHighlight/HighlightFont.cpp
    SyntaxHighlight/HighlightFont.h
    SyntaxHighlight/HighlightRange.cpp
    SyntaxHighlight/HighlightRange.h
    SyntaxHighlight/HLJSClassName.cpp
    SyntaxHighlight/HLJSClassName.h
    SyntaxHighlight/HTMLEntities.cpp
    SyntaxHighlight/HTMLEntities.h
    SyntaxHighlight/JavaScriptContext.cpp
    SyntaxHighlight/JavaScriptCoreLibrary.cpp
    SyntaxHighlight/JavaScriptCoreLibrary.h
    SyntaxHighlight/JavaScriptContext.h
    SyntaxHighlight/Language.h
    SyntaxHighlight/SyntaxHighlight.cpp
    SyntaxHighlight/SyntaxHighlight.h
    SyntaxHighlight/TextAttributes.cpp
    SyntaxHighlight/TextAttributes.h
    SyntaxHighlight/ThemeAttributes.cpp
    SyntaxHighlight/ThemeAttributes.h
)

# The built-in theme texts are compiled into the core, so choosing a theme never touches the disk.
# resources/Themes/names.txt lists them in order; tools/themes/generate-themes.js writes the JSON.
set(BRAMBLEWORTH_THEMES_DIR ${PROJECT_SOURCE_DIR}/resources/Themes)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${BRAMBLEWORTH_THEMES_DIR}/names.txt)
file(STRINGS ${BRAMBLEWORTH_THEMES_DIR}/names.txt brambleworth_theme_lines)
set(brambleworth_theme_files)
foreach(line IN LISTS brambleworth_theme_lines)
    string(STRIP "${line}" line)
    if(line AND NOT line MATCHES "^#")
        list(APPEND brambleworth_theme_files ${BRAMBLEWORTH_THEMES_DIR}/${line}.json)
    endif()
endforeach()
set(brambleworth_themes_cpp ${CMAKE_CURRENT_BINARY_DIR}/generated/BuiltInThemesData.cpp)
add_custom_command(OUTPUT ${brambleworth_themes_cpp}
    COMMAND ${CMAKE_COMMAND} -DTHEMES_DIR=${BRAMBLEWORTH_THEMES_DIR} -DOUTPUT=${brambleworth_themes_cpp}
        -P ${CMAKE_CURRENT_SOURCE_DIR}/SyntaxHighlight/EmbedThemes.cmake
    DEPENDS ${BRAMBLEWORTH_THEMES_DIR}/names.txt ${brambleworth_theme_files}
        ${CMAKE_CURRENT_SOURCE_DIR}/SyntaxHighlight/EmbedThemes.cmake
    COMMENT "Embedding built-in themes"
    VERBATIM)
target_sources(brambleworth_core PRIVATE ${brambleworth_themes_cpp})

if(NOT TARGET PkgConfig::JAVASCRIPTCORE)
    pkg_check_modules(JAVASCRIPTCORE REQUIRED IMPORTED_TARGET javascriptcoregtk-4.1)
endif()
# Compiled against, not linked: the library is opened on first use (see JavaScriptCoreLibrary).
# Its file name is the soname of the 4.1 interface, which the package depends on by name.
target_include_directories(brambleworth_core PRIVATE ${JAVASCRIPTCORE_INCLUDE_DIRS})
target_compile_definitions(brambleworth_core PRIVATE
    BRAMBLEWORTH_JAVASCRIPTCORE_LIBRARY="libjavascriptcoregtk-4.1.so.0")
target_link_libraries(brambleworth_core PRIVATE ${CMAKE_DL_LIBS})
# LeakSanitizer's tracer crashes scanning the engine's threads when the library came in through
# dlopen, so sanitizer builds load it at start-up; the first context then finds it loaded.
# (GCC links without --as-needed under -fsanitize, so the unreferenced library stays.)
option(BRAMBLEWORTH_LOAD_JAVASCRIPTCORE_AT_START
    "Link the JavaScript engine instead of opening it on first use" OFF)
if(BRAMBLEWORTH_LOAD_JAVASCRIPTCORE_AT_START)
    target_link_libraries(brambleworth_core PRIVATE PkgConfig::JAVASCRIPTCORE)
endif()

# PCRE2 directly, for the patterns run thousands of times per highlight (see CompiledPattern).
if(NOT TARGET PkgConfig::PCRE2)
    pkg_check_modules(PCRE2 REQUIRED IMPORTED_TARGET libpcre2-16)
endif()
target_link_libraries(brambleworth_core PRIVATE PkgConfig::PCRE2)

# Highlight.js comes from npm, pinned by the lock file. The package files are copied into the
# build tree and installed there, so the source tree stays clean and a fresh clone builds.
find_program(NPM_EXECUTABLE npm REQUIRED)
set(BRAMBLEWORTH_HLJS_SOURCE_DIR ${PROJECT_SOURCE_DIR}/third_party/highlightjs)
set(BRAMBLEWORTH_HLJS_BUILD_DIR ${PROJECT_BINARY_DIR}/third_party/highlightjs)
set(BRAMBLEWORTH_HLJS_STAMP ${BRAMBLEWORTH_HLJS_BUILD_DIR}/node_modules/.brambleworth-installed)
# Made now, not by the command: Makefile generators change into the working directory before
# the first command runs.
file(MAKE_DIRECTORY ${BRAMBLEWORTH_HLJS_BUILD_DIR})
add_custom_command(OUTPUT ${BRAMBLEWORTH_HLJS_STAMP}
    COMMAND ${CMAKE_COMMAND} -E copy_if_different
        ${BRAMBLEWORTH_HLJS_SOURCE_DIR}/package.json ${BRAMBLEWORTH_HLJS_SOURCE_DIR}/package-lock.json
        ${BRAMBLEWORTH_HLJS_BUILD_DIR}
    COMMAND ${NPM_EXECUTABLE} ci --ignore-scripts --no-audit --no-fund --loglevel=error
    COMMAND ${CMAKE_COMMAND} -E touch ${BRAMBLEWORTH_HLJS_STAMP}
    WORKING_DIRECTORY ${BRAMBLEWORTH_HLJS_BUILD_DIR}
    DEPENDS ${BRAMBLEWORTH_HLJS_SOURCE_DIR}/package.json ${BRAMBLEWORTH_HLJS_SOURCE_DIR}/package-lock.json
    COMMENT "Installing Highlight.js from npm"
    VERBATIM)

set(BRAMBLEWORTH_HLJS_CORE ${BRAMBLEWORTH_HLJS_BUILD_DIR}/HighlightCore.js)
set(BRAMBLEWORTH_HLJS_LANGUAGES ${BRAMBLEWORTH_HLJS_BUILD_DIR}/HighlightLanguages.js)
add_custom_command(OUTPUT ${BRAMBLEWORTH_HLJS_CORE} ${BRAMBLEWORTH_HLJS_LANGUAGES}
    COMMAND ${CMAKE_COMMAND}
        -DPACKAGE_DIR=${BRAMBLEWORTH_HLJS_BUILD_DIR}/node_modules/@highlightjs/cdn-assets
        -DCORE_OUTPUT=${BRAMBLEWORTH_HLJS_CORE}
        -DLANGUAGES_OUTPUT=${BRAMBLEWORTH_HLJS_LANGUAGES}
        -P ${BRAMBLEWORTH_HLJS_SOURCE_DIR}/ConcatenateScripts.cmake
    DEPENDS ${BRAMBLEWORTH_HLJS_STAMP} ${BRAMBLEWORTH_HLJS_SOURCE_DIR}/ConcatenateScripts.cmake
    COMMENT "Joining the Highlight.js scripts"
    VERBATIM)
set_source_files_properties(${BRAMBLEWORTH_HLJS_CORE} ${BRAMBLEWORTH_HLJS_LANGUAGES}
    PROPERTIES GENERATED TRUE)
# One target owns the scripts. Makefile generators run a custom command once for every target
# that lists its outputs, and two npm installs into one folder at once break each other.
add_custom_target(brambleworth_highlightjs_scripts
    DEPENDS ${BRAMBLEWORTH_HLJS_CORE} ${BRAMBLEWORTH_HLJS_LANGUAGES})
# Qt lists the resource files again in a target of its own for IDEs; this property makes that
# target wait for the one above too.
set_source_files_properties(${BRAMBLEWORTH_HLJS_CORE} ${BRAMBLEWORTH_HLJS_LANGUAGES}
    PROPERTIES _qt_resource_target_dependency brambleworth_highlightjs_scripts)

qt_add_resources(brambleworth_core brambleworth_highlightjs
    PREFIX /highlightjs
    BASE ${BRAMBLEWORTH_HLJS_BUILD_DIR}
    OPTIONS -no-compress
    FILES ${BRAMBLEWORTH_HLJS_CORE} ${BRAMBLEWORTH_HLJS_LANGUAGES}
    OUTPUT_TARGETS brambleworth_highlightjs_resource_targets)
# The program's own script beside them, which reports Highlight.js's spans as numbers.
qt_add_resources(brambleworth_core brambleworth_highlightspans
    PREFIX /highlightjs
    BASE ${CMAKE_CURRENT_SOURCE_DIR}/SyntaxHighlight/scripts
    FILES SyntaxHighlight/scripts/HighlightSpans.js)
foreach(target IN ITEMS brambleworth_core LISTS brambleworth_highlightjs_resource_targets)
    add_dependencies(${target} brambleworth_highlightjs_scripts)
endforeach()
