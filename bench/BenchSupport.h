// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QTimer>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#include <vector>

namespace bench {

// Resident set size of this process, in KiB.
inline long residentKiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toLong();
    }
    return 0;
}

// One MiB of plain text lines, as a chatty script prints them.
inline QByteArray textMebibyte()
{
    const QByteArray line("The quick brown fox jumps over the lazy dog; 0123456789 +-*/ ok\n");
    QByteArray block;
    while (block.size() < 1024 * 1024)
        block += line;
    block.truncate(1024 * 1024);
    return block;
}

// Writes `block` to `path` until the file holds `totalBytes`; false when it cannot.
inline bool writeRepeated(const QString& path, const QByteArray& block, qint64 totalBytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    for (qint64 written = 0; written < totalBytes; written += block.size()) {
        if (file.write(block) != block.size())
            return false;
    }
    return true;
}

// Runs this benchmark again on a private Xvfb server and session bus, unless it has both.
inline void ensureDisplayAndBus(char** argv)
{
    if (!qEnvironmentVariableIsEmpty("DISPLAY") &&
        !qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS"))
        return;
    if (qEnvironmentVariableIsSet("BRAMBLEWORTH_BENCH_INNER"))
        qFatal("no display or session bus");
    qputenv("BRAMBLEWORTH_BENCH_INNER", "1");
    execlp("dbus-run-session", "dbus-run-session", "--", "xvfb-run", "-a", "-s",
           "-screen 0 1280x800x24 -nolisten tcp", argv[0], nullptr);
    qFatal("cannot run dbus-run-session");
}

inline std::int64_t monotonicNs()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t(now.tv_sec) * 1000000000 + now.tv_nsec;
}

inline double percentile(std::vector<double> values, double fraction)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    const size_t index =
        std::min(values.size() - 1, size_t(fraction * double(values.size() - 1) + 0.5));
    return values[index];
}

inline double median(const std::vector<double>& values)
{
    return percentile(values, 0.5);
}

inline int openFileDescriptors()
{
    return int(QDir(QStringLiteral("/proc/self/fd"))
                   .entryList(QDir::AllEntries | QDir::NoDotAndDotDot)
                   .size());
}

// True when a child of this process has ended and not been reaped.
inline bool hasZombieChild()
{
    siginfo_t info{};
    if (::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) != 0)
        return false;
    return info.si_pid != 0;
}

// Runs the event loop until `done` answers true or `timeoutMs` passes; answers `done()`.
inline bool spinUntil(const std::function<bool()>& done, int timeoutMs)
{
    // Sleeps in the event loop between events (processEvents with a time limit would spin), with
    // a timer to wake it for the deadline.
    QElapsedTimer clock;
    clock.start();
    QTimer wakeUp;
    wakeUp.start(std::min(timeoutMs, 100));
    while (!done() && clock.elapsed() < timeoutMs)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    return done();
}

// The longest interval between ticks of a 10 ms timer: how long the event loop was busy.
class StallMeter
{
public:
    StallMeter()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.setInterval(10);
        QObject::connect(&m_timer, &QTimer::timeout, [this] {
            const std::int64_t now = monotonicNs();
            m_longestGapNs = std::max(m_longestGapNs, now - m_lastTick);
            m_lastTick = now;
        });
    }
    void start()
    {
        m_longestGapNs = 0;
        m_lastTick = monotonicNs();
        m_timer.start();
    }
    void stop() { m_timer.stop(); }
    double longestGapMs() const { return double(m_longestGapNs) / 1e6; }

private:
    QTimer m_timer;
    std::int64_t m_lastTick = 0;
    std::int64_t m_longestGapNs = 0;
};

// Times `work` `runs` times; answers the samples in milliseconds.
inline std::vector<double> timeRuns(int runs, const std::function<void()>& work)
{
    std::vector<double> samples;
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer timer;
        timer.start();
        work();
        samples.push_back(double(timer.nsecsElapsed()) / 1e6);
    }
    return samples;
}

inline void report(const char* what, const std::vector<double>& milliseconds, const char* goal = "")
{
    std::printf("%-52s median %9.3f ms   p90 %9.3f ms   %s\n", what, median(milliseconds),
                percentile(milliseconds, 0.9), goal);
    std::fflush(stdout);
}

} // namespace bench
