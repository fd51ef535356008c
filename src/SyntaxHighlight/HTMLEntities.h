// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringView>

// Turns the character references in a text run of highlighted HTML back into characters:
// the named references of HTML 4.01 plus "&apos;", and decimal and hexadecimal references to
// Unicode scalars. Anything else stays as written.
class HTMLEntities
{
public:
    static QString decode(QStringView text);
    // Appends the decoded text; most runs hold no reference and go in without a copy.
    static void appendDecoded(QStringView text, QString& output);
    // The number of named references the decoder knows.
    static int namedEntityCount();
};
