// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

// The font a highlighted run asks for, as the core knows it: the GUI turns it into a real
// font (HighlightFormats).
struct HighlightFont
{
    // A font family or PostScript name; empty means the system user-interface font.
    QString name;
    double size = 13.0;
    bool bold = false;
    bool italic = false;

    bool operator==(const HighlightFont&) const = default;

    // "name: <name>, size:<size>" with the size as a decimal ("13.0"); the system font prints
    // as "system-ui". Bold and italic are not part of it: the font error line adds them.
    QString description() const;
    // "bold", "italic", "bold|italic" or "none".
    QString traitsDescription() const;

    static QString decimal(double value);
};
