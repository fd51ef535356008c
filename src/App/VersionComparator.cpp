// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/VersionComparator.h"

namespace {
enum class Kind
{
    number,
    period,
    text,
    separator,
};

Kind kindOf(QChar c)
{
    if (c.isSpace())
        return Kind::separator;
    if (c >= QLatin1Char('0') && c <= QLatin1Char('9'))
        return Kind::number;
    if (c == QLatin1Char('.'))
        return Kind::period;
    return Kind::text;
}

Kind kindOf(const QString& part)
{
    return kindOf(part.at(0));
}

// Digit runs can be longer than any integer type: compare them without leading zeros.
int compareNumbers(const QString& a, const QString& b)
{
    auto stripped = [](const QString& s) {
        qsizetype i = 0;
        while (i + 1 < s.size() && s.at(i) == QLatin1Char('0'))
            ++i;
        return s.mid(i);
    };
    const QString x = stripped(a);
    const QString y = stripped(b);
    if (x.size() != y.size())
        return x.size() < y.size() ? -1 : 1;
    return x.compare(y);
}

int sign(int value)
{
    return (value > 0) - (value < 0);
}
} // namespace

QStringList VersionComparator::parts(const QString& version)
{
    QStringList result;
    QString current;
    Kind currentKind = Kind::separator;
    for (const QChar c : version) {
        const Kind kind = kindOf(c);
        if (!current.isEmpty() && (kind != currentKind || kind == Kind::period)) {
            result << current;
            current.clear();
        }
        currentKind = kind;
        // Whitespace only ends a run.
        if (kind != Kind::separator)
            current += c;
    }
    if (!current.isEmpty())
        result << current;
    return result;
}

int VersionComparator::compare(const QString& a, const QString& b)
{
    const QStringList left = parts(a);
    const QStringList right = parts(b);
    const qsizetype common = std::min(left.size(), right.size());
    for (qsizetype i = 0; i < common; ++i) {
        const Kind l = kindOf(left.at(i));
        const Kind r = kindOf(right.at(i));
        if (l == r) {
            const int order = l == Kind::number ? compareNumbers(left.at(i), right.at(i))
                                                : left.at(i).compare(right.at(i));
            if (order != 0)
                return sign(order);
            continue;
        }
        if (l != Kind::text && r == Kind::text)
            return 1;
        if (l == Kind::text && r != Kind::text)
            return -1;
        return l == Kind::number ? 1 : -1;
    }
    if (left.size() == right.size())
        return 0;
    const bool leftLonger = left.size() > right.size();
    const QString& next = leftLonger ? left.at(common) : right.at(common);
    const bool longerIsNewer = kindOf(next) != Kind::text;
    return (leftLonger == longerIsNewer) ? 1 : -1;
}
