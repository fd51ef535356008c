// SPDX-License-Identifier: GPL-3.0-or-later
// Start latency: from startExecution to the first instruction of the script, whose "#!" line
// names a helper that prints CLOCK_MONOTONIC as it starts; against a bare posix_spawn of the
// same file, interleaved in the same run.
#include "BenchSupport.h"

#include "Execution/ScriptExecutorManager.h"
#include "QuillonCommons/AppLogger.h"

#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <unistd.h>

extern char** environ;

namespace {

constexpr int runs = 200;

// Microseconds from just before posix_spawn to the helper's stamp; negative on failure.
double bareSpawnMicroseconds(const QByteArray& file)
{
    int out[2];
    if (pipe2(out, O_CLOEXEC) != 0)
        return -1;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    char sh[] = "/bin/sh";
    char dashC[] = "-c";
    QByteArray path = file;
    char* argv[] = {path.data(), sh, dashC, path.data(), nullptr};
    pid_t pid = -1;
    const std::int64_t start = bench::monotonicNs();
    const int error = posix_spawn(&pid, path.constData(), &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    QByteArray text;
    char buffer[256];
    ssize_t n;
    while (error == 0 && (n = read(out[0], buffer, sizeof buffer)) > 0)
        text.append(buffer, n);
    close(out[0]);
    if (error != 0)
        return -1;
    waitpid(pid, nullptr, 0);
    return double(text.trimmed().toLongLong() - start) / 1e3;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    AppLogger::setLevel(LogLevel::warning);

    const QString content = QStringLiteral("#!%1\n").arg(QStringLiteral(TIMESTAMP_HELPER));
    QTemporaryDir folder;
    const QByteArray bareFile = QFile::encodeName(folder.path() + QStringLiteral("/stamp.sh"));
    {
        QFile file(QString::fromUtf8(bareFile));
        if (!file.open(QIODevice::WriteOnly) || file.write(content.toUtf8()) < 0)
            return 1;
    }
    chmod(bareFile.constData(), 0700);

    ScriptExecutorManager executor;
    const ScriptPtr script = Script::create(QStringLiteral("stamp"), content, false);
    std::vector<double> executorTimes, bareTimes;
    for (int i = 0; i < runs + 5; ++i) {
        const std::int64_t start = bench::monotonicNs();
        executor.startExecution(script);
        const RunningScriptPtr run = executor.runningScripts().last();
        bench::spinUntil([&] { return run->termination().has_value(); }, 10000);
        const double viaExecutor = double(run->logs().trimmed().toLongLong() - start) / 1e3;
        const double bare = bareSpawnMicroseconds(bareFile);
        if (viaExecutor <= 0 || bare <= 0) {
            std::printf("a run failed\n");
            return 1;
        }
        if (i >= 5) { // the first runs warm the caches
            executorTimes.push_back(viaExecutor);
            bareTimes.push_back(bare);
        }
    }

    const double executorMedian = bench::median(executorTimes);
    const double bareMedian = bench::median(bareTimes);
    std::printf("start latency to the script's first instruction, %d runs\n", runs);
    std::printf("  startExecution   median %8.0f us   p90 %8.0f us\n", executorMedian,
                bench::percentile(executorTimes, 0.9));
    std::printf("  bare posix_spawn median %8.0f us   p90 %8.0f us\n", bareMedian,
                bench::percentile(bareTimes, 0.9));
    std::printf("  ratio of medians        %8.2fx (goal <= 2x)\n", executorMedian / bareMedian);
    return 0;
}
