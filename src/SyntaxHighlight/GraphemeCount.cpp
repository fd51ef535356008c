// SPDX-License-Identifier: GPL-3.0-or-later
#include "SyntaxHighlight/GraphemeCount.h"

#include <QTextBoundaryFinder>

namespace {

// A character above U+02FF that neither joins the one before it nor the one after it, so it
// is a character of its own wherever it stands: not half of a surrogate pair, not a mark or
// format character (extenders, joiners, prepended signs), not a Hangul jamo or syllable (they
// join each other), and not one of the few letters the grapheme rules treat as marks.
bool standsAlone(char16_t unit)
{
    if (QChar::isSurrogate(unit))
        return false;
    switch (QChar::category(char32_t(unit))) {
    case QChar::Mark_NonSpacing:
    case QChar::Mark_SpacingCombining:
    case QChar::Mark_Enclosing:
    case QChar::Other_Format:
    case QChar::Other_NotAssigned:
        return false;
    default:
        break;
    }
    if ((unit >= 0x1100 && unit <= 0x11FF) || (unit >= 0xA960 && unit <= 0xA97F) ||
        (unit >= 0xAC00 && unit <= 0xD7FF))
        return false;
    return unit != 0x0D4E && unit != 0x0E33 && unit != 0x0EB3 && unit != 0xFF9E && unit != 0xFF9F;
}

} // namespace

bool GraphemeCount::isOneUnitPerCharacter(QStringView text)
{
    // Below U+0300 no character joins its neighbour, except a line feed after a carriage
    // return; such text, the usual case, has as many characters as units.
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i].unicode();
        if (unit >= 0x300) {
            if (!standsAlone(unit))
                return false;
        } else if (unit == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n') {
            return false;
        }
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
