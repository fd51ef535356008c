// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

// Orders version texts the way Sparkle does: the text splits into runs of digits, single
// periods and runs of anything else; runs compare pairwise (numbers by value, other text by
// characters, a number above text, a number above a period). When one version is a prefix of
// the other, the longer one is newer unless its next run is text: 1.0 is newer than 1.0b1 but
// older than 1.0.1.
class VersionComparator
{
public:
    // Negative when a is older than b, zero when they are the same, positive when newer.
    static int compare(const QString& a, const QString& b);
    static QStringList parts(const QString& version);
};
