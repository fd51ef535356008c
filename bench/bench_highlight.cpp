// SPDX-License-Identifier: GPL-3.0-or-later
// Highlighting costs: building a context with every grammar, highlighting realistic bash
// scripts end to end, the HTML rebuild alone, and the memory a context adds.
#include "BenchScripts.h"
#include "QuillonCommons/AppLogger.h"
#include "QuillonCommons/StopWatch.h"
#include "SyntaxHighlight/BuiltInThemes.h"
#include "SyntaxHighlight/HighlightedHTMLParser.h"
#include "SyntaxHighlight/SyntaxHighlight.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <unistd.h>
#include <vector>

namespace {

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

double milliseconds(const std::function<void()>& action)
{
    const std::uint64_t start = StopWatch::now();
    action();
    return StopWatch::convert(StopWatch::now() - start, DurationUnit::milliseconds);
}

// The fastest run too: on a machine shared with other work it shows what the code costs when
// nothing else interferes.
double fastest = 0;

double medianMilliseconds(int runs, const std::function<void()>& action)
{
    std::vector<double> times;
    for (int i = 0; i < runs; ++i)
        times.push_back(milliseconds(action));
    fastest = *std::min_element(times.begin(), times.end());
    return median(times);
}

void report(const char* what, double value, const char* unit, int runs)
{
    std::printf("%-52s %9.2f %s  (median of %d", what, value, unit, runs);
    if (fastest > 0)
        std::printf(", fastest %.2f", fastest);
    std::printf(")\n");
    std::fflush(stdout);
    fastest = 0;
}

long residentBytes()
{
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> fields = statm.readAll().split(' ');
    return fields.size() > 1 ? fields[1].toLong() * sysconf(_SC_PAGESIZE) : 0;
}

int firstContextChild()
{
    const double time = milliseconds([] { SyntaxHighlight highlight; });
    std::printf("%.3f\n", time);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    AppLogger::setLevel(LogLevel::error);
    if (app.arguments().contains(QStringLiteral("--first-context")))
        return firstContextChild();

    // The first context of a process compiles everything; it runs in fresh processes.
    std::vector<double> firstTimes;
    const int firstRuns = 5;
    for (int i = 0; i < firstRuns; ++i) {
        QProcess child;
        child.start(app.applicationFilePath(), {QStringLiteral("--first-context")});
        child.waitForFinished(-1);
        firstTimes.push_back(child.readAllStandardOutput().trimmed().toDouble());
    }
    fastest = *std::min_element(firstTimes.begin(), firstTimes.end());
    report("first context + all languages (new process)", median(firstTimes), "ms", firstRuns);

    SyntaxHighlight::shared();
    const int laterRuns = 10;
    report("later context + all languages (shared group)",
           medianMilliseconds(laterRuns, [] { SyntaxHighlight highlight; }), "ms", laterRuns);

    const long before = residentBytes();
    std::vector<std::unique_ptr<SyntaxHighlight>> kept;
    const int memoryContexts = 5;
    for (int i = 0; i < memoryContexts; ++i)
        kept.push_back(std::make_unique<SyntaxHighlight>());
    const long after = residentBytes();
    report("resident memory added per context", double(after - before) / memoryContexts / 1e6, "MB",
           memoryContexts);
    kept.clear();

    const ThemeAttributes theme = *BuiltInThemes::theme(QStringLiteral("monokai"));
    SyntaxHighlight highlight;
    for (const auto& [lines, runs] :
         {std::pair{100, 41}, std::pair{1000, 21}, std::pair{10000, 5}}) {
        const QString code = bench::bashScript(lines);
        // The editor re-highlights on every keystroke, so the engine's JIT is warm by then:
        // measure that state, not the first few calls.
        for (int warm = 0; warm < 10; ++warm)
            highlight.highlightRanges(code, QStringLiteral("bash"), theme);
        const QByteArray label =
            QByteArray("highlightRanges end to end, ") + QByteArray::number(lines) + " bash lines";
        report(label.constData(),
               medianMilliseconds(
                   runs, [&] { highlight.highlightRanges(code, QStringLiteral("bash"), theme); }),
               "ms", runs);
    }

    const QString code = bench::bashScript(1000);
    const QString html = *highlight.highlightedHTML(code, QStringLiteral("bash"));
    const int runs = 51;
    report("Highlight.js call alone, 1000 bash lines",
           medianMilliseconds(21, [&] { highlight.highlightedHTML(code, QStringLiteral("bash")); }),
           "ms", 21);
    report("HTML rebuild alone, 1000 bash lines",
           medianMilliseconds(runs,
                              [&] {
                                  QString text;
                                  HighlightedHTMLParser::parse(html, text);
                              }),
           "ms", runs);
    std::printf("(1000 lines: %lld characters of code, %lld of HTML, %lld ranges)\n",
                qlonglong(code.size()), qlonglong(html.size()),
                qlonglong(highlight.highlightRanges(code, QStringLiteral("bash"), theme).size()));
    return 0;
}
