// SPDX-License-Identifier: GPL-3.0-or-later
// 200 runs at once of a script that sleeps a second and prints: every log complete, every child
// reaped, and no file descriptor left open afterwards.
#include "BenchSupport.h"

#include "Execution/ScriptExecutorManager.h"
#include "QuillonCommons/AppLogger.h"

#include <QTemporaryDir>

#include <cstdio>

namespace {

constexpr int runs = 200;

QString expectedLog(int i)
{
    return QStringLiteral("run %1 awake\nrun %1 done\n").arg(i);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    AppLogger::setLevel(LogLevel::warning);
    // Scratch directories of this benchmark only.
    QTemporaryDir scratch;
    qputenv("TMPDIR", QFile::encodeName(scratch.path()));

    ScriptExecutorManager executor;
    // One run first, so that whatever Qt opens once (event dispatcher, notifiers) is counted
    // before.
    executor.startExecution(
        Script::create(QStringLiteral("warm-up"), QStringLiteral("#!/bin/sh\n"), false));
    bench::spinUntil([&] { return executor.runningScripts().isEmpty(); }, 10000);
    const int descriptorsBefore = bench::openFileDescriptors();

    RunningScriptList started;
    const std::int64_t start = bench::monotonicNs();
    for (int i = 0; i < runs; ++i) {
        const QString content =
            QStringLiteral("#!/bin/sh\necho \"run %1 awake\"\nsleep 1\necho \"run %1 done\"\n")
                .arg(i);
        executor.startExecution(
            Script::create(QStringLiteral("run %1").arg(i), content, i % 2 == 0));
        started.append(executor.runningScripts().last());
    }
    const double launchMs = double(bench::monotonicNs() - start) / 1e6;
    const int descriptorsWhileRunning = bench::openFileDescriptors();
    bench::StallMeter stalls;
    stalls.start();
    const bool allEnded = bench::spinUntil(
        [&] {
            return std::all_of(started.begin(), started.end(), [](const RunningScriptPtr& run) {
                return run->termination().has_value();
            });
        },
        60000);
    const double allDoneMs = double(bench::monotonicNs() - start) / 1e6;
    // Runs that don't keep their logs leave the list; kept ones stay until stopped.
    bench::spinUntil([&] { return executor.runningScripts().size() == runs / 2; }, 10000);
    for (const RunningScriptPtr& run : RunningScriptList(executor.runningScripts()))
        executor.stop(run);
    bench::spinUntil([] { return false; }, 200); // let the processes' objects go
    stalls.stop();

    int complete = 0;
    for (int i = 0; i < runs; ++i)
        complete += started[i]->logs() == expectedLog(i) ? 1 : 0;
    int exitedCleanly = 0;
    for (const RunningScriptPtr& run : started)
        exitedCleanly += run->termination() && run->termination()->shellStatus() == 0 ? 1 : 0;
    started.clear();
    const int descriptorsAfter = bench::openFileDescriptors();
    const bool zombies = bench::hasZombieChild();

    std::printf("%d concurrent runs of a script that sleeps 1 s and prints\n", runs);
    std::printf("  all started in                 %8.1f ms\n", launchMs);
    std::printf("  all ended after                %8.1f ms (%s)\n", allDoneMs,
                allEnded ? "all ended" : "NOT ALL ENDED");
    std::printf("  complete logs                  %5d / %d\n", complete, runs);
    std::printf("  exit status 0                  %5d / %d\n", exitedCleanly, runs);
    std::printf("  longest event-loop stall       %8.1f ms\n", stalls.longestGapMs());
    std::printf("  open descriptors before/while/after  %d / %d / %d (%s)\n", descriptorsBefore,
                descriptorsWhileRunning, descriptorsAfter,
                descriptorsAfter == descriptorsBefore ? "none leaked" : "LEAKED");
    std::printf("  zombie children                %s\n", zombies ? "YES" : "none");
    const bool ok =
        allEnded && complete == runs && descriptorsAfter == descriptorsBefore && !zombies;
    return ok ? 0 : 1;
}
