// SPDX-License-Identifier: GPL-3.0-or-later
#include "QuillonCommons/StopWatch.h"

#include <QLocale>
#include <QtGlobal>

#include <cmath>
#include <ctime>

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

QString DurationMeasurement::description() const
{
    // Shortest round-trip form, always with a fraction part, as a floating-point value prints.
    QString number = QString::number(value, 'g', QLocale::FloatingPointShortest);
    if (std::isfinite(value) && !number.contains(QLatin1Char('.')) &&
        !number.contains(QLatin1Char('e')))
        number += QStringLiteral(".0");
    return number + QLatin1Char(' ') + symbol(unit);
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
