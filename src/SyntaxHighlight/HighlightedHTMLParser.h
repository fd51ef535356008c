// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "SyntaxHighlight/ClassRangeNode.h"

#include <QString>
#include <QStringView>

#include <memory>

// Rebuilds the plain text from the HTML that Highlight.js returns and records, for every span
// with a class attribute, where it opened and closed in that text.
//
// The HTML is consumed from the front by three patterns, each anchored at the current
// position: a run of text, an opening span with a non-empty class attribute, a closing span.
// The searches run up to the HTML's length in characters (grapheme clusters) rather than UTF-16
// units; this is deliberate and keeps the rebuilt text in step with the editors that use it.
// With HTML holding characters that take several units, the searches therefore stop early and
// what is left of the searched stretch is appended as it stands.
class HighlightedHTMLParser
{
public:
    // The root node (no classes, range {0, 0}), or nothing when the HTML is malformed ("more
    // than one match", "found end span but no start" at error level). `text` receives the
    // rebuilt text, also when the parse fails part-way.
    static std::unique_ptr<ClassRangeNode> parse(const QString& html, QString& text);
};
