// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <cstdint>

enum class DurationUnit
{
    nanoseconds,
    microseconds,
    milliseconds,
    seconds,
    minutes,
    hours
};

// A duration with its unit, printed as "value symbol" ("12.5 ms", "0.0 ms").
struct DurationMeasurement
{
    double value = 0;
    DurationUnit unit = DurationUnit::nanoseconds;

    QString description() const;
    static QString symbol(DurationUnit unit);
    // As a floating-point value prints: "100000.0", "0.0003", "1e-05".
    static QString number(double value);
};

// Measures elapsed time on the raw monotonic clock (not slewed by NTP) for timing log lines.
class StopWatch
{
public:
    explicit StopWatch(QString name = {});

    DurationMeasurement elapsed(DurationUnit unit);
    double elapsedValue(DurationUnit unit);
    std::uint64_t elapsedInteger(DurationUnit unit);

    // "name:label elapsed (+delta)"; the colon only with a name, the blank only with a label.
    QString description(const QString& label, DurationUnit unit);

    const QString& name() const { return m_name; }
    std::uint64_t start() const { return m_start; }
    std::uint64_t current() const { return m_current; }
    std::uint64_t last() const { return m_last; }
    std::uint64_t delta() const { return m_delta; }

    static std::uint64_t now();
    static double convert(std::uint64_t nanoseconds, DurationUnit unit);

private:
    std::uint64_t reading();

    QString m_name;
    std::uint64_t m_start = 0;
    std::uint64_t m_current = 0;
    std::uint64_t m_last = 0;
    std::uint64_t m_delta = 0;
};
