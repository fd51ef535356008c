// SPDX-License-Identifier: GPL-3.0-or-later
#include "SyntaxHighlight/HighlightRange.h"

QString HighlightRange::description() const
{
    return QStringLiteral("<HighlightRange: range: ") + range.description() +
           QStringLiteral(", attributes:") + attributes.description() + u'>';
}
