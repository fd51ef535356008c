// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "SyntaxHighlight/Color.h"
#include "SyntaxHighlight/HighlightFont.h"

#include <optional>

// The attributes of a highlighted run: at most a font and a foreground colour. A missing key
// means "not set here", which matters when runs are applied over each other.
struct TextAttributes
{
    std::optional<HighlightFont> font;
    std::optional<Color> foregroundColor;

    bool operator==(const TextAttributes&) const = default;

    // Sets the keys present in `other`, keeps the rest.
    void merge(const TextAttributes& other);

    // "{NSColor = #RRGGBB; NSFont = name: …, size:…[ bold][ italic]}" with the absent keys
    // left out, keys in sorted order as a dictionary prints them.
    QString description() const;
};
