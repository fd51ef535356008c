// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/GoldenFile.h"

#include "common/TestEnvironment.h"

#include <QList>

#include <algorithm>
#include <vector>

namespace {

constexpr qsizetype contextLines = 3;
// Above this many cells the middle of the two texts is shown as replaced whole: references
// are small, and a diff that large is read from the written output anyway.
constexpr qsizetype maximumTableCells = 16 * 1024 * 1024;

QList<QByteArray> splitLines(const QByteArray& text)
{
    QList<QByteArray> lines = text.split('\n');
    if (text.endsWith('\n'))
        lines.removeLast();
    else if (!text.isEmpty())
        lines.last() += "\n\\ No newline at end of file";
    if (text.isEmpty())
        lines.clear();
    return lines;
}

struct Edit
{
    char kind; // ' ', '-' or '+'
    qsizetype oldLine;
    qsizetype newLine;
};

// The shortest edit script between the lines, by longest common subsequence over the part that
// differs once the common head and tail are set aside.
std::vector<Edit> editScript(const QList<QByteArray>& a, const QList<QByteArray>& b)
{
    qsizetype head = 0;
    while (head < a.size() && head < b.size() && a[head] == b[head])
        ++head;
    qsizetype tail = 0;
    while (tail < a.size() - head && tail < b.size() - head &&
           a[a.size() - 1 - tail] == b[b.size() - 1 - tail])
        ++tail;
    const qsizetype n = a.size() - head - tail;
    const qsizetype m = b.size() - head - tail;

    std::vector<Edit> edits;
    for (qsizetype i = 0; i < head; ++i)
        edits.push_back({' ', i, i});
    if ((n + 1) * (m + 1) > maximumTableCells) {
        for (qsizetype i = 0; i < n; ++i)
            edits.push_back({'-', head + i, head});
        for (qsizetype j = 0; j < m; ++j)
            edits.push_back({'+', head + n, head + j});
    } else {
        // common[i][j]: the longest common subsequence of a's middle from i and b's from j.
        std::vector<int> common(size_t((n + 1) * (m + 1)), 0);
        const auto at = [&](qsizetype i, qsizetype j) -> int& {
            return common[size_t(i * (m + 1) + j)];
        };
        for (qsizetype i = n - 1; i >= 0; --i) {
            for (qsizetype j = m - 1; j >= 0; --j) {
                at(i, j) = a[head + i] == b[head + j] ? at(i + 1, j + 1) + 1
                                                      : std::max(at(i + 1, j), at(i, j + 1));
            }
        }
        qsizetype i = 0;
        qsizetype j = 0;
        while (i < n || j < m) {
            if (i < n && j < m && a[head + i] == b[head + j]) {
                edits.push_back({' ', head + i, head + j});
                ++i;
                ++j;
            } else if (i < n && (j == m || at(i + 1, j) >= at(i, j + 1))) {
                // Removals first, as diff(1) writes a changed stretch.
                edits.push_back({'-', head + i, head + j});
                ++i;
            } else {
                edits.push_back({'+', head + i, head + j});
                ++j;
            }
        }
    }
    for (qsizetype k = 0; k < tail; ++k)
        edits.push_back({' ', a.size() - tail + k, b.size() - tail + k});
    return edits;
}

// "start,count" as a hunk header writes it: a hunk that holds no line of one side names the
// line before it.
QString range(qsizetype first, qsizetype count)
{
    const qsizetype start = count == 0 ? first : first + 1;
    return count == 1 ? QString::number(start) : QStringLiteral("%1,%2").arg(start).arg(count);
}

} // namespace

namespace GoldenFile {

QString unifiedDiff(const QByteArray& expected, const QByteArray& actual,
                    const QString& expectedLabel, const QString& actualLabel)
{
    if (expected == actual)
        return {};
    const QList<QByteArray> a = splitLines(expected);
    const QList<QByteArray> b = splitLines(actual);
    const std::vector<Edit> edits = editScript(a, b);

    QByteArray diff = "--- " + expectedLabel.toUtf8() + "\n+++ " + actualLabel.toUtf8() + '\n';
    qsizetype index = 0;
    const qsizetype total = qsizetype(edits.size());
    while (index < total) {
        while (index < total && edits[size_t(index)].kind == ' ')
            ++index;
        if (index == total)
            break;
        // A hunk runs from a few lines before its first change to a few after its last, and
        // takes in the next change when fewer than twice that many lines lie between them.
        const qsizetype begin = std::max<qsizetype>(0, index - contextLines);
        qsizetype end = index;
        while (end < total) {
            qsizetype next = end;
            while (next < total && edits[size_t(next)].kind != ' ')
                ++next;
            qsizetype unchanged = next;
            while (unchanged < total && edits[size_t(unchanged)].kind == ' ')
                ++unchanged;
            if (unchanged == total || unchanged - next > 2 * contextLines) {
                end = std::min(total, next + contextLines);
                break;
            }
            end = unchanged;
        }
        qsizetype oldCount = 0;
        qsizetype newCount = 0;
        QByteArray body;
        for (qsizetype k = begin; k < end; ++k) {
            const Edit& edit = edits[size_t(k)];
            const QByteArray& line = edit.kind == '+' ? b[edit.newLine] : a[edit.oldLine];
            body += edit.kind + line + '\n';
            oldCount += edit.kind != '+';
            newCount += edit.kind != '-';
        }
        const Edit& first = edits[size_t(begin)];
        diff += "@@ -" + range(first.oldLine, oldCount).toUtf8() + " +" +
                range(first.newLine, newCount).toUtf8() + " @@\n" + body;
        index = end;
    }
    return QString::fromUtf8(diff);
}

QString compare(const QByteArray& actual, const QString& referencePath, const QString& outputPath)
{
    if (qEnvironmentVariableIsSet("BRAMBLEWORTH_REGENERATE_GOLDEN")) {
        TestEnvironment::writeFile(referencePath, actual);
        return {};
    }
    TestEnvironment::writeFile(outputPath, actual);
    return unifiedDiff(TestEnvironment::readFile(referencePath), actual, referencePath, outputPath);
}

} // namespace GoldenFile
