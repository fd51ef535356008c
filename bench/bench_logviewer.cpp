// SPDX-License-Identifier: GPL-3.0-or-later
// A log viewer open on a run that floods its output: 100 MiB written as 1 MiB lines and then
// as 10-byte lines. Measures the longest event-loop stall while the viewer follows the end,
// checks that its text is the whole log afterwards, and reads the program's peak memory.
#include "BenchSupport.h"

#include "Execution/ScriptExecutorManager.h"
#include "QuillonCommons/AppLogger.h"
#include "SyntaxHighlight/TQCodeEditorTextView.h"
#include "UI/LogViewerViewController.h"

#include <QApplication>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <sys/resource.h>

namespace {

double peakMiB()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_maxrss) / 1024.0;
}

// Half of `total` as lines of `lineLength` bytes (newline included).
void writeLines(QFile& file, qint64 bytes, qint64 lineLength)
{
    QByteArray line(lineLength - 1, 'a');
    for (qint64 i = 0; i < line.size(); ++i)
        line[i] = char('a' + i % 26);
    line += '\n';
    QByteArray block;
    while (block.size() + line.size() <= 1024 * 1024)
        block += line;
    qint64 written = 0;
    while (written + block.size() <= bytes)
        written += file.write(block);
    while (written + line.size() <= bytes)
        written += file.write(line);
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    AppLogger::setLevel(LogLevel::warning);
    const qint64 total = (argc > 1 ? QByteArray(argv[1]).toLongLong() : 100) * 1024 * 1024;

    QTemporaryDir folder;
    const QString dataFile = folder.path() + QStringLiteral("/output.txt");
    {
        QFile file(dataFile);
        if (!file.open(QIODevice::WriteOnly))
            return 1;
        writeLines(file, total / 2, 1024 * 1024);
        writeLines(file, total - file.size(), 10);
    }
    const qint64 bytes = QFile(dataFile).size();
    const ScriptPtr script = Script::create(
        QStringLiteral("flood"), QStringLiteral("#!/bin/sh\nexec cat '%1'\n").arg(dataFile), false);
    script->setKeepLog(true);

    ScriptExecutorManager executor;
    const double before = peakMiB();
    bench::StallMeter stalls;
    stalls.start();
    const std::int64_t start = bench::monotonicNs();
    executor.startExecution(script);
    const RunningScriptPtr run = executor.runningScripts().last();
    LogViewerViewController viewer(run, &executor);
    viewer.resize(900, 600);
    viewer.show();
    bench::spinUntil([&] { return !run->isRunning(); }, 600000);
    const double captured = double(bench::monotonicNs() - start) / 1e9;
    bench::spinUntil([&] { return !viewer.hasPendingOutput(); }, 600000);
    const double shown = double(bench::monotonicNs() - start) / 1e9;
    bench::spinUntil([] { return false; }, 100);
    stalls.stop();
    const double peak = peakMiB();

    const bool equal = viewer.codeEditorView()->string() == run->logs();
    const double mib = double(bytes) / (1024 * 1024);
    std::printf("log viewer following %.0f MiB (half in 1 MiB lines, half in 10-byte lines)\n",
                mib);
    std::printf("  run captured after              %8.2f s\n", captured);
    std::printf("  viewer caught up after          %8.2f s\n", shown);
    std::printf("  longest event-loop stall        %8.1f ms (goal < 100 ms; 10 ms timer)\n",
                stalls.longestGapMs());
    std::printf("  peak memory of the program      %8.0f MiB = %.2fx the output (goal < 3x; "
                "%.0f MiB before the run)\n",
                peak, peak / mib, before);
    std::printf("  viewer text equals the log      %s\n", equal ? "yes" : "NO");
    return equal ? 0 : 1;
}
