// SPDX-License-Identifier: GPL-3.0-or-later
#include "SyntaxHighlight/HighlightFont.h"

#include <QStringList>

QString HighlightFont::decimal(double value)
{
    QString text = QString::number(value, 'g', 15);
    if (!text.contains(u'.') && !text.contains(u'e') && !text.contains(u'n') &&
        !text.contains(u'i'))
        text += QStringLiteral(".0");
    return text;
}

QString HighlightFont::description() const
{
    return QStringLiteral("name: ") + (name.isEmpty() ? QStringLiteral("system-ui") : name) +
           QStringLiteral(", size:") + decimal(size);
}

QString HighlightFont::traitsDescription() const
{
    QStringList traits;
    if (bold)
        traits.append(QStringLiteral("bold"));
    if (italic)
        traits.append(QStringLiteral("italic"));
    return traits.isEmpty() ? QStringLiteral("none") : traits.join(u'|');
}
