// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "SyntaxHighlight/Color.h"
#include "SyntaxHighlight/HighlightFont.h"
#include "SyntaxHighlight/TextAttributes.h"

#include <QColor>
#include <QFont>
#include <QTextCharFormat>

// Turns the engine's attribute values into what Qt's text classes take.
class HighlightFormats
{
public:
    // The named font (the system UI font for an empty name) at the size. Bold and italic are
    // applied only when the family has such a face: otherwise the error is logged and the
    // plain font returned, rather than a synthesised face.
    static QFont font(const HighlightFont& font);
    // r, g, b(, a) as given; one or two components are grey (and alpha); none is black.
    static QColor color(const Color& color);
    // Font and foreground for the keys present; an absent key leaves that property unset.
    static QTextCharFormat format(const TextAttributes& attributes);
};
