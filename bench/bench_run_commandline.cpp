// SPDX-License-Identifier: GPL-3.0-or-later
// `brambleworth --run` of a script that writes 100 MiB, its standard output on /dev/null, against
// `cat F | cat > /dev/null` measured in the same run: wall time, and the peak memory of the
// brambleworth process.
#include "BenchSupport.h"

#include "Model/Script.h"

#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

extern char** environ;

namespace {

constexpr qint64 totalBytes = 100 * 1024 * 1024;
constexpr int repetitions = 5;

struct Measure
{
    double seconds = -1;
    double peakMiB = 0;
    int status = -1;
};

// Runs `argv` with standard output on /dev/null; the time until it has been reaped and its
// own high-water mark of resident memory.
Measure measure(std::vector<QByteArray> arguments)
{
    std::vector<char*> argv;
    for (QByteArray& argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    Measure result;
    const std::int64_t start = bench::monotonicNs();
    pid_t pid = -1;
    const int error = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        return result;
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    result.seconds = double(bench::monotonicNs() - start) / 1e9;
    result.peakMiB = double(usage.ru_maxrss) / 1024;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir folder;
    const QString dataFile = folder.path() + QStringLiteral("/data.txt");
    if (!bench::writeRepeated(dataFile, bench::textMebibyte(), totalBytes))
        return 1;
    const QByteArray quoted = "'" + QFile::encodeName(dataFile) + "'";
    const ScriptPtr script = Script::create(
        QStringLiteral("writer"),
        QStringLiteral("#!/bin/sh\nexec cat %1\n").arg(QString::fromUtf8(quoted)), false);
    {
        const QString library =
            folder.path() + QStringLiteral("/org.brambleworth.Brambleworth/Brambleworth.json");
        QDir().mkpath(QFileInfo(library).absolutePath());
        QFile file(library);
        if (!file.open(QIODevice::WriteOnly) || file.write(*Script::encodeLibrary({script})) < 0)
            return 1;
    }

    const std::vector<QByteArray> pipeline{"/bin/sh", "-c", "cat " + quoted + " | cat"};
    const std::vector<QByteArray> commandLine{BRAMBLEWORTH_BINARY,
                                              "-CUSTOM_APPLICATION_SUPPORT_DIRECTORY",
                                              QFile::encodeName(folder.path()),
                                              "-IncludeBuiltInScripts",
                                              "NO",
                                              "--run",
                                              "writer"};
    measure(pipeline); // page cache
    std::vector<double> pipeSeconds, runSeconds, runPeaks;
    bool succeeded = true;
    for (int i = 0; i < repetitions; ++i) {
        pipeSeconds.push_back(measure(pipeline).seconds);
        const Measure run = measure(commandLine);
        succeeded = succeeded && run.status == 0;
        runSeconds.push_back(run.seconds);
        runPeaks.push_back(run.peakMiB);
    }

    const double mib = double(totalBytes) / (1024 * 1024);
    const double pipe = bench::median(pipeSeconds);
    const double run = bench::median(runSeconds);
    std::printf("brambleworth --run of %.0f MiB to /dev/null, median of %d runs\n", mib,
                repetitions);
    std::printf("  cat FILE | cat > /dev/null      %8.1f ms  %7.0f MiB/s\n", pipe * 1e3,
                mib / pipe);
    std::printf("  brambleworth --run > /dev/null  %8.1f ms  %7.0f MiB/s\n", run * 1e3, mib / run);
    std::printf("  --run / cat through a pipe      %8.2fx (goal <= 2.5x)\n", run / pipe);
    std::printf(
        "  peak memory of brambleworth     %8.1f MiB (largest of the runs; goal < 30 MiB)\n",
        *std::max_element(runPeaks.begin(), runPeaks.end()));
    std::printf("  every run succeeded             %s\n", succeeded ? "yes" : "NO");
    return succeeded ? 0 : 1;
}
