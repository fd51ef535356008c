// SPDX-License-Identifier: GPL-3.0-or-later
#include "SyntaxHighlight/GraphemeCount.h"

#include <QTextBoundaryFinder>

bool GraphemeCount::isOneUnitPerCharacter(QStringView text)
{
    // Below U+0300 no character joins its neighbour, except a line feed after a carriage
    // return; such text, the usual case, has as many characters as units.
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i].unicode();
        if (unit >= 0x300 || (unit == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n'))
            return false;
    }
    return true;
}

int GraphemeCount::characterCount(QStringView text)
{
    if (isOneUnitPerCharacter(text))
        return int(text.size());

    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.data(), text.size());
    int count = 0;
    while (finder.toNextBoundary() >= 0)
        ++count;
    return count;
}
