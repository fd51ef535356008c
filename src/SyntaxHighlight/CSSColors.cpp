// SPDX-License-Identifier: GPL-3.0-or-later
#include "SyntaxHighlight/CSSColors.h"

QString CSSColors::normalize(const QString& text)
{
    return text;
}

const QHash<QString, QString>& CSSColors::colors()
{
    static const QHash<QString, QString> map;
    return map;
}
