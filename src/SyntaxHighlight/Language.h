// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

// A language Highlight.js knows: its registration name ("plaintext") and the grammar's human
// name ("Plain text").
struct Language
{
    QString identifier;
    QString displayName;

    bool operator==(const Language&) const = default;
};
