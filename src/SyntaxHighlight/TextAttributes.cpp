// SPDX-License-Identifier: GPL-3.0-or-later
#include "SyntaxHighlight/TextAttributes.h"

#include <QStringList>

void TextAttributes::merge(const TextAttributes& other)
{
    if (other.font)
        font = other.font;
    if (other.foregroundColor)
        foregroundColor = other.foregroundColor;
}

QString TextAttributes::description() const
{
    QStringList entries;
    if (foregroundColor)
        entries.append(QStringLiteral("NSColor = ") + foregroundColor->toString());
    if (font) {
        QString entry = QStringLiteral("NSFont = ") + font->description();
        if (font->bold)
            entry += QStringLiteral(" bold");
        if (font->italic)
            entry += QStringLiteral(" italic");
        entries.append(entry);
    }
    return u'{' + entries.join(QStringLiteral("; ")) + u'}';
}
