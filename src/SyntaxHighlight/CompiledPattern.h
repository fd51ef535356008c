// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringView>

// PCRE2's own types, declared here so that users of the class need not include pcre2.h.
struct pcre2_real_code_16;
struct pcre2_real_match_data_16;

// A PCRE2 pattern compiled for UTF-16 with its own match data, for the hot loops of the
// highlighter: QRegularExpression allocates a match object on every search, which costs more
// than the search itself for the short anchored patterns run thousands of times a keystroke.
//
// Subjects are taken as plain UTF-16 code units (PCRE2's non-UTF mode), so a stretch that ends
// in half a surrogate pair needs no validation and no special case; `UnicodeClasses` still
// reads \w and \d by their Unicode properties. A pattern keeps the captures of its last search,
// so an instance must not be shared between threads.
class CompiledPattern
{
public:
    enum class Classes
    {
        ascii,
        unicode
    };

    explicit CompiledPattern(QStringView pattern, Classes classes = Classes::ascii);
    ~CompiledPattern();
    CompiledPattern(const CompiledPattern&) = delete;
    CompiledPattern& operator=(const CompiledPattern&) = delete;

    bool isValid() const { return m_code && m_matchData; }
    // Why the pattern did not compile, empty when it did.
    const QString& errorString() const { return m_error; }

    // Searches `subject` from `offset` on; a pattern that begins with '^' matches there or not
    // at all when `offset` is 0. Captures of the match stay readable until the next search.
    bool match(QStringView subject, qsizetype offset = 0);

    bool hasCaptured(int group) const;
    qsizetype capturedStart(int group = 0) const;
    qsizetype capturedEnd(int group = 0) const;
    qsizetype capturedLength(int group = 0) const
    {
        return capturedEnd(group) - capturedStart(group);
    }
    // A view into the last subject: valid only while that subject lives.
    QStringView capturedView(int group = 0) const;

private:
    pcre2_real_code_16* m_code = nullptr;
    pcre2_real_match_data_16* m_matchData = nullptr;
    QStringView m_subject;
    int m_groups = 0;
    bool m_matched = false;
    QString m_error;
};
