// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "SyntaxHighlight/HighlightRange.h"

#include <QList>
#include <QString>

// A text with its attribute runs: the finished form of a highlight for callers that want the
// whole styled text at once. Runs never overlap, are ordered and cover the text once
// attributes have been set over all of it.
class HighlightAttributedString
{
public:
    HighlightAttributedString() = default;
    explicit HighlightAttributedString(QString text) : m_text(std::move(text)) {}

    const QString& text() const { return m_text; }
    const QList<HighlightRange>& runs() const { return m_runs; }

    // Replaces every attribute over the range.
    void setAttributes(const TextAttributes& attributes, TextRange range);
    // Sets the keys present in `attributes` over the range and keeps the others.
    void addAttributes(const TextAttributes& attributes, TextRange range);
    // The attributes in force at a UTF-16 position (empty outside every run).
    TextAttributes attributesAt(int position) const;

    bool operator==(const HighlightAttributedString&) const = default;

private:
    QString m_text;
    QList<HighlightRange> m_runs;
};
