// SPDX-License-Identifier: GPL-3.0-or-later
#include "Model/Bookmark.h"
#include "Model/FileWatcher.h"
#include "Model/Script.h"
#include "QuillonCommons/LogCapture.h"
#include "platform/linux/InotifyFileEventSource.h"

#include "common/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QMutex>
#include <QProcess>
#include <QSet>
#include <QStandardPaths>
#include <QTest>

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

namespace {

// What a watcher's handler saw, filled on the worker thread.
class Recorder
{
public:
    FileWatcher::Handler handler()
    {
        return [this](FileWatcher*, std::optional<FileEvents> events) {
            char name[16] = {};
            pthread_getname_np(pthread_self(), name, sizeof(name));
            QMutexLocker lock(&m_mutex);
            m_events |= events.value_or(FileEvents());
            m_threads.insert(QString::fromLatin1(name));
        };
    }
    FileEvents events() const
    {
        QMutexLocker lock(&m_mutex);
        return m_events;
    }
    QSet<QString> threads() const
    {
        QMutexLocker lock(&m_mutex);
        return m_threads;
    }
    void clear()
    {
        QMutexLocker lock(&m_mutex);
        m_events = {};
    }

private:
    mutable QMutex m_mutex;
    FileEvents m_events;
    QSet<QString> m_threads;
};

int threadsNamed(const QByteArray& name)
{
    int count = 0;
    const QDir tasks(QStringLiteral("/proc/self/task"));
    for (const QString& task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile comm(tasks.filePath(task) + QStringLiteral("/comm"));
        if (comm.open(QIODevice::ReadOnly) && comm.readAll().trimmed() == name)
            ++count;
    }
    return count;
}

void writeInPlace(const QString& path, const QByteArray& data, int flags)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_WRONLY | flags);
    QVERIFY(fd >= 0);
    QCOMPARE(::write(fd, data.constData(), size_t(data.size())), ssize_t(data.size()));
    ::close(fd);
}

void run(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, arguments);
    QVERIFY2(process.waitForFinished(20000), qPrintable(program));
    QCOMPARE(process.exitCode(), 0);
}

} // namespace

class TestInotifyWatcher : public QObject
{
    Q_OBJECT

    TestEnvironment m_files;

private slots:
    // Each way a text editor saves: the script keeps the file's text, and the watcher ends up
    // watching the file that now stands at the path.
    void editorSavesAreFollowed_data()
    {
        QTest::addColumn<QString>("how");
        QTest::addColumn<bool>("replaces");
        QTest::newRow("sed -i") << "sed" << true;
        // Debian's vim, backupcopy=auto, rewrites the file in place.
        QTest::newRow("vim") << "vim" << false;
        QTest::newRow("write side file and rename (gedit)") << "rename" << true;
        QTest::newRow("truncate then write (nano)") << "truncate" << false;
        QTest::newRow("delete and recreate") << "recreate" << true;
    }

    void editorSavesAreFollowed()
    {
        QFETCH(QString, how);
        QFETCH(bool, replaces);
        if (how == QLatin1String("vim") &&
            QStandardPaths::findExecutable(QStringLiteral("vim")).isEmpty())
            QSKIP("vim is not installed");
        const QString path = m_files.makeFolder(how) + QStringLiteral("/linked.sh");
        TestEnvironment::writeFile(path, "one\n");
        Script script(QStringLiteral("Linked"), QString(), false);
        script.setBookmark(Bookmark::create(path));
        Recorder recorder;
        FileWatcher watcher(path, recorder.handler(), InotifyFileEventSource::shared());
        watcher.start();
        LogCapture capture;

        if (how == QLatin1String("sed")) {
            run(QStringLiteral("sed"), {QStringLiteral("-i"), QStringLiteral("s/one/two/"), path});
        } else if (how == QLatin1String("vim")) {
            run(QStringLiteral("vim"),
                {QStringLiteral("-u"), QStringLiteral("NONE"), QStringLiteral("-N"),
                 QStringLiteral("-es"), QStringLiteral("-c"), QStringLiteral("%s/one/two/"),
                 QStringLiteral("-c"), QStringLiteral("wq"), path});
        } else if (how == QLatin1String("rename")) {
            const QString side = path + QStringLiteral(".XYZ123");
            TestEnvironment::writeFile(side, "two\n");
            QVERIFY(QFile::rename(side, path) ||
                    ::rename(QFile::encodeName(side).constData(),
                             QFile::encodeName(path).constData()) == 0);
        } else if (how == QLatin1String("truncate")) {
            writeInPlace(path, "two\n", O_TRUNC);
        } else {
            QVERIFY(QFile::remove(path));
            QTest::qWait(50);
            TestEnvironment::writeFile(path, "two\n");
        }
        QCOMPARE(TestEnvironment::readFile(path), QByteArray("two\n"));
        QCOMPARE(script.content(), QStringLiteral("two\n"));

        if (replaces) {
            QTRY_VERIFY(recorder.events().testFlag(FileEvent::Delete));
            QTRY_VERIFY_WITH_TIMEOUT(watcher.isWatching(), 5000);
        } else {
            QTRY_VERIFY(recorder.events().testFlag(FileEvent::Write));
            QVERIFY(!recorder.events().testFlag(FileEvent::Delete));
        }
        QVERIFY(watcher.isWatching());
        // Let the replaced file's last events drain, then check the new file is the watched one.
        QTest::qWait(100);
        recorder.clear();
        writeInPlace(path, "three\n", O_APPEND);
        QTRY_VERIFY(recorder.events().testFlag(FileEvent::Write));
        QCOMPARE(script.content(), QStringLiteral("two\nthree\n"));
        QCOMPARE(watcher.maxRetry(), 2);
        QVERIFY2(capture.messages(LogLevel::error).isEmpty(),
                 qPrintable(capture.messages(LogLevel::error).join(QLatin1Char('\n'))));
        QCOMPARE(recorder.threads(), QSet<QString>{QStringLiteral("FileWatcher")});
    }

    void watchersShareOneInstanceAndOneThread()
    {
        auto& source = InotifyFileEventSource::shared();
        const QString folder = m_files.makeFolder(QStringLiteral("shared"));
        const int before = source.watchCount();
        Recorder first;
        Recorder second;
        Recorder other;
        const QString path = folder + QStringLiteral("/a.sh");
        const QString otherPath = folder + QStringLiteral("/b.sh");
        TestEnvironment::writeFile(path, "a");
        TestEnvironment::writeFile(otherPath, "b");
        auto a = std::make_unique<FileWatcher>(path, first.handler(), source);
        FileWatcher b(path, second.handler(), source);
        FileWatcher c(otherPath, other.handler(), source);
        a->start();
        b.start();
        c.start();
        QCOMPARE(source.watchCount(), before + 3);
        QCOMPARE(threadsNamed("FileWatcher"), 1);

        // Two watchers of one file: both hear of it, and one leaving keeps the other.
        writeInPlace(path, "x", O_APPEND);
        QTRY_VERIFY(first.events().testFlag(FileEvent::Write));
        QTRY_VERIFY(second.events().testFlag(FileEvent::Write));
        QVERIFY(!other.events());
        a.reset();
        second.clear();
        writeInPlace(path, "y", O_APPEND);
        QTRY_VERIFY(second.events().testFlag(FileEvent::Write));

        // Reading the file (as a handler that reloads does) wakes nobody; attributes do.
        second.clear();
        QCOMPARE(TestEnvironment::readFile(path), QByteArray("axy"));
        QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner));
        QTRY_VERIFY(second.events());
        QCOMPARE(second.events(), FileEvents(FileEvent::Attrib));

        // A rename away: the path no longer names the watched file.
        second.clear();
        QVERIFY(QFile::rename(path, folder + QStringLiteral("/moved.sh")));
        QTRY_VERIFY(second.events().testFlag(FileEvent::Delete));
        QVERIFY(second.events().testFlag(FileEvent::Rename));
        QTRY_VERIFY(!b.isWatching());
        b.stop();
        c.stop();
        QCOMPARE(source.watchCount(), before);
    }
};

BRAMBLEWORTH_TEST_MAIN(TestInotifyWatcher)
#include "test_inotifywatcher.moc"
