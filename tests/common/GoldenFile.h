// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

// Compares a test's output with a reference file kept in the source tree. A mismatch reads as
// a unified diff of the two, so a reviewer sees every changed line instead of the first few
// hundred characters of each side.
namespace GoldenFile {

// Writes `actual` to `outputPath` (for people to look at), then answers an empty string when it
// equals the reference, or the unified diff from the reference to it. With
// BRAMBLEWORTH_REGENERATE_GOLDEN set, the reference itself is rewritten and nothing differs.
QString compare(const QByteArray& actual, const QString& referencePath, const QString& outputPath);

// The unified diff between two texts, labelled with the given names; empty when they are equal.
QString unifiedDiff(const QByteArray& expected, const QByteArray& actual,
                    const QString& expectedLabel, const QString& actualLabel);

} // namespace GoldenFile

// Fails the test with the whole diff when the output differs from its reference.
#define BRAMBLEWORTH_COMPARE_GOLDEN(actual, referencePath, outputPath)                             \
    do {                                                                                           \
        const QString goldenDiff_ = GoldenFile::compare((actual), (referencePath), (outputPath));  \
        if (!goldenDiff_.isEmpty())                                                                \
            QFAIL(                                                                                 \
                qPrintable(QStringLiteral("output differs from its reference:\n") + goldenDiff_)); \
    } while (false)
