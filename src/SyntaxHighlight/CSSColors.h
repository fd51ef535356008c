// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QString>

// CSS colour keywords and short hex forms brought to "#rrggbb".
class CSSColors
{
public:
    // A keyword (case-sensitive) -> its hex form, unknown keyword -> "#000000"; "#abc" ->
    // "#aabbcc";
    // "#rrggbb" unchanged. Any other '#' length is a programming error and stops the process.
    static QString normalize(const QString& text);
    // The 147 CSS 3 / SVG extended colour keywords -> "#" + six lower-case hex digits.
    static const QHash<QString, QString>& colors();
};
