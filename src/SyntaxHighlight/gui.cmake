# SPDX-License-Identifier: GPL-3.0-or-later
# The engine's attribute values as Qt fonts, colours and character formats.
target_sources(brambleworth_gui PRIVATE
    SyntaxHighlight/HighlightFormats.cpp
    SyntaxHighlight/HighlightFormats.h
)
