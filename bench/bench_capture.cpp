// SPDX-License-Identifier: GPL-3.0-or-later
// Output capture: a script that writes 100 MiB to standard output as fast as it can, captured
// into its run's log, against `cat` of the same bytes to /dev/null and through a pipe; how long
// the event loop was kept busy meanwhile, and how much memory the log took.
#include "BenchSupport.h"

#include "Execution/ScriptExecutorManager.h"
#include "QuillonCommons/AppLogger.h"
#include "QuillonCommons/Utf8Stream.h"

#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <spawn.h>
#include <sys/resource.h>

extern char** environ;

namespace {

constexpr qint64 totalBytes = 100 * 1024 * 1024;
constexpr int repetitions = 5;

double cpuSecondsOfThisProcess()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

double shellSeconds(const QByteArray& command)
{
    const std::int64_t start = bench::monotonicNs();
    char sh[] = "/bin/sh";
    char dashC[] = "-c";
    QByteArray text = command;
    char* argv[] = {sh, dashC, text.data(), nullptr};
    pid_t pid = -1;
    if (posix_spawn(&pid, "/bin/sh", nullptr, nullptr, argv, environ) != 0)
        return -1;
    int status = 0;
    waitpid(pid, &status, 0);
    return double(bench::monotonicNs() - start) / 1e9;
}

// The part of capturing that no pipe is involved in: 100 MiB checked and stored, one 1 MiB chunk
// at a time, as the log stores it.
double storeOnlySeconds(const QByteArray& block)
{
    const std::int64_t start = bench::monotonicNs();
    Utf8Stream stream;
    QByteArray text;
    for (qint64 done = 0; done < totalBytes; done += block.size()) {
        if (text.capacity() - text.size() < block.size())
            text.reserve(std::max(text.size() + block.size() + 3, 2 * text.capacity()));
        stream.append(block, text);
    }
    return double(bench::monotonicNs() - start) / 1e9;
}

double peakResidentMiB()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_maxrss) / 1024;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    AppLogger::setLevel(LogLevel::warning);

    QTemporaryDir folder;
    const QString dataFile = folder.path() + QStringLiteral("/data.txt");
    const QByteArray block = bench::textMebibyte();
    if (!bench::writeRepeated(dataFile, block, totalBytes))
        return 1;
    const QByteArray quoted = "'" + QFile::encodeName(dataFile) + "'";
    const ScriptPtr script = Script::create(
        QStringLiteral("writer"),
        QStringLiteral("#!/bin/sh\nexec cat %1\n").arg(QString::fromUtf8(quoted)), false);

    ScriptExecutorManager executor;
    bench::StallMeter stalls;
    std::vector<double> catSeconds, pipeSeconds, captureSeconds, captureCpuSeconds, longestStalls;
    bool complete = true;
    shellSeconds("cat " + quoted + " > /dev/null"); // page cache
    // The log of one run alone, before anything else grows the high-water mark.
    const double residentBefore = peakResidentMiB();
    double residentOfOneRun = 0;
    for (int i = 0; i < repetitions; ++i) {
        catSeconds.push_back(shellSeconds("cat " + quoted + " > /dev/null"));
        pipeSeconds.push_back(shellSeconds("cat " + quoted + " | cat > /dev/null"));

        stalls.start();
        const double cpuStart = cpuSecondsOfThisProcess();
        const std::int64_t start = bench::monotonicNs();
        executor.startExecution(script);
        const RunningScriptPtr run = executor.runningScripts().last();
        bench::spinUntil([&] { return run->termination().has_value(); }, 120000);
        captureSeconds.push_back(double(bench::monotonicNs() - start) / 1e9);
        captureCpuSeconds.push_back(cpuSecondsOfThisProcess() - cpuStart);
        // Keep ticking a little: the end of a run must not stall either.
        bench::spinUntil([] { return false; }, 50);
        stalls.stop();
        longestStalls.push_back(stalls.longestGapMs());
        complete = complete && run->utf8Logs().size() == totalBytes;
        if (i == 0)
            residentOfOneRun = peakResidentMiB();
    }
    const double store = storeOnlySeconds(block);

    const double mib = double(totalBytes) / (1024 * 1024);
    const double cat = bench::median(catSeconds);
    const double pipe = bench::median(pipeSeconds);
    const double capture = bench::median(captureSeconds);
    std::printf("capture of %.0f MiB on stdout, median of %d runs\n", mib, repetitions);
    std::printf("  cat FILE > /dev/null            %8.1f ms  %7.0f MiB/s\n", cat * 1e3, mib / cat);
    std::printf("  cat FILE | cat > /dev/null      %8.1f ms  %7.0f MiB/s\n", pipe * 1e3,
                mib / pipe);
    std::printf("  checking and storing, no pipe   %8.1f ms  %7.0f MiB/s\n", store * 1e3,
                mib / store);
    std::printf("  script captured into its log    %8.1f ms  %7.0f MiB/s\n", capture * 1e3,
                mib / capture);
    std::printf("  CPU time of the capturing side  %8.1f ms\n",
                bench::median(captureCpuSeconds) * 1e3);
    std::printf("  capture / cat to /dev/null      %8.2fx\n", capture / cat);
    std::printf("  capture / cat through a pipe    %8.2fx (goal <= 3x)\n", capture / pipe);
    std::printf("  peak memory of one run          %8.1f MiB (%.1f MiB before it; goal < %.0f MiB "
                "above that, 1.5x the output)\n",
                residentOfOneRun, residentBefore, 1.5 * mib);
    std::printf(
        "  longest event-loop stall        %8.1f ms (worst run; goal < 100 ms; 10 ms timer)\n",
        *std::max_element(longestStalls.begin(), longestStalls.end()));
    std::printf("  every log complete              %s\n", complete ? "yes" : "NO");
    return complete ? 0 : 1;
}
