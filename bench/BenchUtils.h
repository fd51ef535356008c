// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QElapsedTimer>
#include <QList>

#include <algorithm>
#include <cstdio>
#include <functional>

// Times `work` `runs` times and answers the median and 90th percentile in milliseconds.
struct BenchFigures
{
    double median = 0;
    double p90 = 0;
};

inline BenchFigures benchFigures(QList<double> samples)
{
    std::sort(samples.begin(), samples.end());
    if (samples.isEmpty())
        return {};
    return {samples.at(samples.size() / 2),
            samples.at(std::min<qsizetype>(samples.size() - 1, samples.size() * 9 / 10))};
}

inline BenchFigures timeRuns(int runs, const std::function<void()>& work)
{
    QList<double> samples;
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer timer;
        timer.start();
        work();
        samples << double(timer.nsecsElapsed()) / 1e6;
    }
    return benchFigures(samples);
}

inline void report(const char* what, const BenchFigures& figures, const char* goal = "")
{
    std::printf("%-52s median %9.3f ms   p90 %9.3f ms   %s\n", what, figures.median, figures.p90,
                goal);
    std::fflush(stdout);
}
