// SPDX-License-Identifier: GPL-3.0-or-later
#include "QuillonCommons/StopWatch.h"

#include <QtGlobal>

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <string>
#include <string_view>

QString DurationMeasurement::symbol(DurationUnit unit)
{
    switch (unit) {
    case DurationUnit::nanoseconds:
        return QStringLiteral("ns");
    case DurationUnit::microseconds:
        return QStringLiteral("µs");
    case DurationUnit::milliseconds:
        return QStringLiteral("ms");
    case DurationUnit::seconds:
        return QStringLiteral("s");
    case DurationUnit::minutes:
        return QStringLiteral("min");
    case DurationUnit::hours:
        return QStringLiteral("hr");
    }
    return {};
}

QString DurationMeasurement::number(double value)
{
    if (std::isnan(value))
        return QStringLiteral("nan");
    if (std::isinf(value))
        return value < 0 ? QStringLiteral("-inf") : QStringLiteral("inf");
    // The shortest digits that read back as the same value, as "d.ddde±XX".
    char buffer[64];
    const auto result =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::scientific);
    const std::string_view scientific(buffer, std::size_t(result.ptr - buffer));
    const std::size_t e = scientific.find('e');
    const bool negative = scientific.front() == '-';
    std::string digits;
    for (const char c : scientific.substr(negative ? 1 : 0, e - (negative ? 1 : 0))) {
        if (c != '.')
            digits += c;
    }
    const int exponent = std::atoi(std::string(scientific.substr(e + 1)).c_str());

    std::string text = negative ? "-" : "";
    // A floating-point value prints in plain form from 0.0001 up to 2^53, beyond which a
    // double no longer holds every integer; exponent form outside, with at least two
    // exponent digits ("1e-05", "1.5e+16").
    if (exponent < -4 || std::fabs(value) > 9007199254740992.0) {
        text += digits.substr(0, 1);
        if (digits.size() > 1)
            text += '.' + digits.substr(1);
        const int magnitude = std::abs(exponent);
        text += exponent < 0 ? "e-" : "e+";
        if (magnitude < 10)
            text += '0';
        text += std::to_string(magnitude);
    } else if (exponent < 0) {
        text += "0." + std::string(std::size_t(-exponent - 1), '0') + digits;
    } else if (std::size_t(exponent) + 1 >= digits.size()) {
        text += digits + std::string(std::size_t(exponent) + 1 - digits.size(), '0') + ".0";
    } else {
        text += digits.substr(0, std::size_t(exponent) + 1) + '.' +
                digits.substr(std::size_t(exponent) + 1);
    }
    return QString::fromLatin1(text.data(), qsizetype(text.size()));
}

QString DurationMeasurement::description() const
{
    return number(value) + QLatin1Char(' ') + symbol(unit);
}

StopWatch::StopWatch(QString name) : m_name(std::move(name)), m_start(now()) {}

std::uint64_t StopWatch::now()
{
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC_RAW, &ts);
    return std::uint64_t(ts.tv_sec) * 1000000000ull + std::uint64_t(ts.tv_nsec);
}

double StopWatch::convert(std::uint64_t nanoseconds, DurationUnit unit)
{
    const double ns = double(nanoseconds);
    switch (unit) {
    case DurationUnit::nanoseconds:
        return ns;
    case DurationUnit::microseconds:
        return ns / 1e3;
    case DurationUnit::milliseconds:
        return ns / 1e6;
    case DurationUnit::seconds:
        return ns / 1e9;
    case DurationUnit::minutes:
        return ns / 60e9;
    case DurationUnit::hours:
        return ns / 3600e9;
    }
    return ns;
}

std::uint64_t StopWatch::reading()
{
    const std::uint64_t t = now();
    if (t < m_start || t < m_last)
        qFatal("StopWatch: the monotonic clock went backwards");
    m_current = t;
    if (m_last != 0)
        m_delta = t - m_last;
    m_last = t;
    return t - m_start;
}

DurationMeasurement StopWatch::elapsed(DurationUnit unit)
{
    return {convert(reading(), unit), unit};
}

double StopWatch::elapsedValue(DurationUnit unit)
{
    return elapsed(unit).value;
}

std::uint64_t StopWatch::elapsedInteger(DurationUnit unit)
{
    const double v = elapsedValue(unit);
    if (!std::isfinite(v) || v < 0 || v >= 18446744073709551616.0)
        qFatal("StopWatch: elapsed time does not fit an unsigned 64-bit integer");
    return std::uint64_t(v);
}

QString StopWatch::description(const QString& label, DurationUnit unit)
{
    const DurationMeasurement total = elapsed(unit);
    const DurationMeasurement step{convert(m_delta, unit), unit};
    return m_name + (m_name.isEmpty() ? QString() : QStringLiteral(":")) + label +
           (label.isEmpty() ? QString() : QStringLiteral(" ")) + total.description() +
           QStringLiteral(" (+") + step.description() + QLatin1Char(')');
}
