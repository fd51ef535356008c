// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

// Turns the character references in a text run of highlighted HTML back into characters:
// the named references of HTML 4.01 plus "&apos;", and decimal and hexadecimal references to
// Unicode scalars. Anything else stays as written.
class HTMLEntities
{
public:
    static QString decode(const QString& text);
    // The number of named references the decoder knows.
    static int namedEntityCount();
};
