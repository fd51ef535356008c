# SPDX-License-Identifier: GPL-3.0-or-later
target_sources(brambleworth_core PRIVATE
    SyntaxHighlight/BuiltInThemes.cpp
    SyntaxHighlight/BuiltInThemes.h
    SyntaxHighlight/CSSColors.cpp
    SyntaxHighlight/CSSColors.h
    SyntaxHighlight/Color.cpp
    SyntaxHighlight/Color.h
    SyntaxHighlight/HLJSClassName.cpp
    SyntaxHighlight/HLJSClassName.h
    SyntaxHighlight/ThemeAttributes.cpp
    SyntaxHighlight/ThemeAttributes.h
)
