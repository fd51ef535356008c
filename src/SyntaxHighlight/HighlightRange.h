// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "SyntaxHighlight/ClassRangeNode.h"
#include "SyntaxHighlight/TextAttributes.h"

#include <QString>

// One entry of a highlight: a range of the highlighted text (UTF-16 units) and the attributes
// that replace all others there. Later entries of a list go over earlier ones.
struct HighlightRange
{
    TextRange range;
    TextAttributes attributes;

    bool operator==(const HighlightRange&) const = default;

    // "<HighlightRange: range: {location, length}, attributes:{…}>"
    QString description() const;
};
