# SPDX-License-Identifier: GPL-3.0-or-later
target_sources(brambleworth_core PRIVATE
    SyntaxHighlight/BuiltInThemes.cpp
    SyntaxHighlight/BuiltInThemes.h
    SyntaxHighlight/BuiltInThemesData.h
    SyntaxHighlight/CSSColors.cpp
    SyntaxHighlight/CSSColors.h
    SyntaxHighlight/Color.cpp
    SyntaxHighlight/Color.h
    SyntaxHighlight/HLJSClassName.cpp
    SyntaxHighlight/HLJSClassName.h
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
