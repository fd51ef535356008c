# SPDX-License-Identifier: GPL-3.0-or-later
# The engine's attribute values as Qt fonts, colours and character formats; the code editor
# view, its live highlighter, find field and line numbers.
target_sources(brambleworth_gui PRIVATE
    SyntaxHighlight/HighlightFormats.cpp
    SyntaxHighlight/HighlightFormats.h
    SyntaxHighlight/TQCodeEditorFindBar.cpp
    SyntaxHighlight/TQCodeEditorFindBar.h
    SyntaxHighlight/TQCodeEditorLineNumberArea.cpp
    SyntaxHighlight/TQCodeEditorLineNumberArea.h
    SyntaxHighlight/TQCodeEditorSyntaxtHighlighter.cpp
    SyntaxHighlight/TQCodeEditorSyntaxtHighlighter.h
    SyntaxHighlight/TQCodeEditorTextView.cpp
    SyntaxHighlight/TQCodeEditorTextView.h
    SyntaxHighlight/editoricons.qrc
)
