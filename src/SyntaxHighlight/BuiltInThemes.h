// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "SyntaxHighlight/ThemeAttributes.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

// The themes shipped inside the program, keyed by the Highlight.js style sheet they come from.
class BuiltInThemes
{
public:
    // The 90 names, in the order the preferences offer them.
    static const QStringList& names();
    // The theme's compact JSON text; nothing for an unknown name.
    static std::optional<QByteArray> json(const QString& name);
    // The decoded theme; nothing for an unknown name or a text that does not decode (logged).
    static std::optional<ThemeAttributes> theme(const QString& name);
};
