// SPDX-License-Identifier: GPL-3.0-or-later
// Linked script files: the editor reads the file on every text read and writes it on every
// keystroke; the watcher must notice a change quickly and stay cheap by the thousand.
#include "BenchSupport.h"

#include "Model/Bookmark.h"
#include "Model/FileWatcher.h"
#include "Model/Script.h"
#include "platform/linux/InotifyFileEventSource.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <atomic>
#include <fcntl.h>
#include <unistd.h>

namespace {

int threadCount()
{
    return int(QDir(QStringLiteral("/proc/self/task"))
                   .entryList(QDir::Dirs | QDir::NoDotAndDotDot)
                   .size());
}

void appendByte(const QString& path)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_APPEND);
    [[maybe_unused]] const ssize_t written = ::write(fd, "x", 1);
    ::close(fd);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("linked.sh"));

    // 100 KiB of shell text.
    QByteArray text;
    while (text.size() < 100 * 1024)
        text += "rsync -a --delete \"$HOME/projects/\" \"/mnt/backup/\" && echo done\n";
    text.truncate(100 * 1024);
    {
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        file.write(text);
    }
    Script script(QStringLiteral("Linked"), QString(), false);
    script.setBookmark(Bookmark::create(path));

    bench::report("linked text read (resolve + read), 100 KiB",
                  bench::timeRuns(500, [&] { (void)script.content(); }), "goal < 1 ms median");

    const QString edited = QString::fromUtf8(text);
    int keystroke = 0;
    bench::report("linked text write-back on a keystroke, 100 KiB",
                  bench::timeRuns(
                      300, [&] { script.setContent(edited + QString::number(keystroke++ % 10)); }),
                  "goal < 2 ms median");

    // Latency from a write to the watcher's handler.
    std::atomic<std::int64_t> seenAt{0};
    FileWatcher watcher(
        path, [&](FileWatcher*, std::optional<FileEvents>) { seenAt.store(bench::monotonicNs()); },
        InotifyFileEventSource::shared());
    watcher.start();
    std::vector<double> latencies;
    for (int i = 0; i < 200; ++i) {
        seenAt.store(0);
        const std::int64_t before = bench::monotonicNs();
        appendByte(path);
        while (seenAt.load() == 0 && bench::monotonicNs() - before < 1000000000)
            ::usleep(50);
        latencies.push_back(double(seenAt.load() - before) / 1e6);
        ::usleep(2000);
    }
    bench::report("watcher: write to handler", latencies, "goal < 10 ms");
    watcher.stop();

    // A thousand watchers at once.
    constexpr int count = 1000;
    QStringList paths;
    for (int i = 0; i < count; ++i) {
        paths.append(folder.filePath(QStringLiteral("w%1.sh").arg(i)));
        QFile file(paths.last());
        file.open(QIODevice::WriteOnly);
    }
    const long rssBefore = bench::residentKiB();
    const int threadsBefore = threadCount();
    std::atomic<int> events{0};
    std::vector<std::unique_ptr<FileWatcher>> watchers;
    watchers.reserve(count);
    int started = 0;
    for (const QString& watched : paths) {
        watchers.push_back(std::make_unique<FileWatcher>(
            watched, [&](FileWatcher*, std::optional<FileEvents>) { ++events; },
            InotifyFileEventSource::shared()));
        try {
            watchers.back()->start();
            ++started;
        } catch (const std::exception&) {
        }
    }
    const long rssAfter = bench::residentKiB();
    const int threadsAfter = threadCount();
    for (const QString& watched : paths)
        appendByte(watched);
    const std::int64_t waitStart = bench::monotonicNs();
    while (events.load() < count && bench::monotonicNs() - waitStart < 5000000000)
        ::usleep(1000);
    std::printf("%d watchers: %d started, %d saw their change, resident +%ld KiB (%.0f bytes "
                "each), threads +%d   goal < 1 MiB in all, no thread each\n",
                count, started, events.load(), rssAfter - rssBefore,
                double(rssAfter - rssBefore) * 1024.0 / count, threadsAfter - threadsBefore);
    return 0;
}
