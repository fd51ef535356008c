// SPDX-License-Identifier: GPL-3.0-or-later
#include "SyntaxHighlight/HighlightAttributedString.h"

#include <algorithm>

namespace {

// Rewrites the runs over `range`: parts of runs outside it stay as they are, the parts inside
// and the uncovered gaps inside get `change` applied to their attributes.
template <typename Change>
void applyOver(QList<HighlightRange>& runs, TextRange range, Change change)
{
    if (range.length <= 0)
        return;
    const int start = range.location;
    const int end = range.end();
    // Runs are sorted and disjoint: the affected ones form one slice.
    const auto first = std::partition_point(
        runs.begin(), runs.end(), [&](const auto& run) { return run.range.end() <= start; });
    const auto last = std::partition_point(
        first, runs.end(), [&](const auto& run) { return run.range.location < end; });

    QList<HighlightRange> pieces;
    int cursor = start;
    auto addGap = [&](int upTo) {
        if (cursor < upTo) {
            TextAttributes attributes;
            change(attributes);
            pieces.append({TextRange{cursor, upTo - cursor}, attributes});
        }
    };
    for (auto run = first; run != last; ++run) {
        const int a = run->range.location;
        const int b = run->range.end();
        if (a < start)
            pieces.append({TextRange{a, start - a}, run->attributes});
        const int insideStart = std::max(a, start);
        const int insideEnd = std::min(b, end);
        addGap(insideStart);
        TextAttributes attributes = run->attributes;
        change(attributes);
        pieces.append({TextRange{insideStart, insideEnd - insideStart}, attributes});
        cursor = insideEnd;
        if (b > end)
            pieces.append({TextRange{end, b - end}, run->attributes});
    }
    addGap(end);

    // Neighbours with equal attributes become one run, also across the slice's edges.
    const qsizetype index = first - runs.begin();
    const qsizetype from = std::max<qsizetype>(index - 1, 0);
    const qsizetype to = std::min<qsizetype>(last - runs.begin() + 1, runs.size());
    QList<HighlightRange> merged;
    auto add = [&](const HighlightRange& run) {
        if (!merged.isEmpty() && merged.back().range.end() == run.range.location &&
            merged.back().attributes == run.attributes)
            merged.back().range.length += run.range.length;
        else
            merged.append(run);
    };
    if (from < index)
        add(runs[from]);
    for (const HighlightRange& piece : pieces)
        add(piece);
    for (qsizetype i = last - runs.begin(); i < to; ++i)
        add(runs[i]);
    runs.remove(from, to - from);
    runs.insert(from, merged.size(), HighlightRange{});
    std::move(merged.begin(), merged.end(), runs.begin() + from);
}

} // namespace

void HighlightAttributedString::setAttributes(const TextAttributes& attributes, TextRange range)
{
    applyOver(m_runs, range, [&](TextAttributes& target) { target = attributes; });
}

void HighlightAttributedString::addAttributes(const TextAttributes& attributes, TextRange range)
{
    applyOver(m_runs, range, [&](TextAttributes& target) { target.merge(attributes); });
}

TextAttributes HighlightAttributedString::attributesAt(int position) const
{
    const auto run = std::partition_point(m_runs.begin(), m_runs.end(),
                                          [&](const auto& r) { return r.range.end() <= position; });
    if (run == m_runs.end() || run->range.location > position)
        return {};
    return run->attributes;
}
