// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringView>

// Counts what a reader sees as characters (grapheme clusters), the measure the highlighted
// HTML's searches run over. It lives apart so that the HTML parser and the entity decoder
// both use it without depending on each other.
class GraphemeCount
{
public:
    // The length of a text in grapheme clusters.
    static int characterCount(QStringView text);
    // True when every unit is a character of its own, and stays one with ASCII markup between
    // units: no mark, joiner, surrogate or Hangul, and no carriage return before a line feed.
    static bool isOneUnitPerCharacter(QStringView text);
};
