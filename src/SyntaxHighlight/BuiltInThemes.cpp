// SPDX-License-Identifier: GPL-3.0-or-later
#include "SyntaxHighlight/BuiltInThemes.h"

const QStringList& BuiltInThemes::names()
{
    static const QStringList list;
    return list;
}

std::optional<QByteArray> BuiltInThemes::json(const QString&)
{
    return std::nullopt;
}

std::optional<ThemeAttributes> BuiltInThemes::theme(const QString&)
{
    return std::nullopt;
}
