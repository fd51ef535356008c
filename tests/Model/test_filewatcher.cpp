// SPDX-License-Identifier: GPL-3.0-or-later
#include "Model/FileWatcher.h"
#include "QuillonCommons/LogCapture.h"

#include "Model/FakeFileEventSource.h"
#include "common/TestEnvironment.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTest>

namespace {

struct Received
{
    FileWatcher* watcher = nullptr;
    std::optional<FileEvents> events;
    bool watchingDuringHandler = false;
};

} // namespace

class TestFileWatcher : public QObject
{
    Q_OBJECT

    TestEnvironment m_files;
    QString m_path;
    FakeFileEventSource m_source;
    QList<Received> m_received;

    std::unique_ptr<FileWatcher> makeWatcher()
    {
        return std::make_unique<FileWatcher>(
            m_path,
            [this](FileWatcher* watcher, std::optional<FileEvents> events) {
                m_received.append({watcher, events, watcher->isWatching()});
            },
            m_source);
    }

    // Lets the event loop run for a while, without asserting anything about time.
    static void runEventLoop(int milliseconds)
    {
        QElapsedTimer clock;
        clock.start();
        while (clock.elapsed() < milliseconds)
            QTest::qWait(20);
    }

private slots:
    void init()
    {
        m_path = m_files.makeFolder(QString::fromLatin1(QTest::currentTestFunction())) +
                 QStringLiteral("/watched.sh");
        TestEnvironment::writeFile(m_path, "echo");
        m_received.clear();
    }

    void reportsEventsQuietly()
    {
        LogCapture capture;
        auto watcher = makeWatcher();
        QCOMPARE(watcher->fd(), -1);
        QCOMPARE(watcher->maxRetry(), 2);
        QCOMPARE(int(watcher->options()), 1);
        watcher->start();
        QVERIFY(watcher->isWatching());
        watcher->start(); // already watching: no second watch
        QCOMPARE(m_source.watchCount(), 1);

        m_source.send(m_path, FileEvent::Write | FileEvent::Extend);
        QCOMPARE(m_received.size(), 1);
        QCOMPARE(m_received.first().watcher, watcher.get());
        QCOMPARE(m_received.first().events, FileEvents(FileEvent::Write | FileEvent::Extend));
        QVERIFY(watcher->isWatching());

        watcher->stop();
        watcher->stop();
        QCOMPARE(m_source.watchCount(), 0);
        QVERIFY(!watcher->isWatching());
        m_source.send(m_path, FileEvent::Write);
        QCOMPARE(m_received.size(), 1);
        // Start, stop and event traces never reach the log.
        QVERIFY(capture.entries().isEmpty());

        watcher->start();
        watcher.reset();
        QCOMPARE(m_source.watchCount(), 0);
    }

    void aMissingFileCannotBeOpened()
    {
        QVERIFY(QFile::remove(m_path));
        auto watcher = makeWatcher();
        LogCapture capture;
        try {
            watcher->start();
            QFAIL("start() should fail");
        } catch (const FileWatcher::Errors& error) {
            QCOMPARE(error.errorCase(), FileWatcher::Errors::cannotOpen);
        }
        QCOMPARE(capture.messages(LogLevel::error),
                 QStringList{QStringLiteral("cannot open ") + m_path});
        QVERIFY(!watcher->isWatching());
        QCOMPARE(watcher->maxRetry(), 2);
    }

    void aDeleteReopensOneSecondLater()
    {
        auto watcher = makeWatcher();
        watcher->start();
        m_source.send(m_path, FileEvent::Delete);
        // The handler is told too, after the re-open has been scheduled.
        QCOMPARE(m_received.size(), 1);
        QCOMPARE(m_received.first().events, FileEvents(FileEvent::Delete));
        QVERIFY(!m_received.first().watchingDuringHandler);
        QCOMPARE(m_source.watchCount(), 0);
        QTRY_VERIFY_WITH_TIMEOUT(watcher->isWatching(), 5000);
        QCOMPARE(watcher->maxRetry(), 2);
        m_source.send(m_path, FileEvent::Write);
        QCOMPARE(m_received.size(), 2);

        // Without the re-open option a delete is only reported.
        watcher->setOptions({});
        m_source.send(m_path, FileEvent::Delete);
        QVERIFY(watcher->isWatching());
        QCOMPARE(m_received.size(), 3);
    }

    void theRetryBudgetIsSharedForLife()
    {
        auto watcher = makeWatcher();
        watcher->start();
        LogCapture capture;
        const QString failure = QStringLiteral("restart():");

        // First replacement: gone at the first attempt, back for the second.
        QVERIFY(QFile::remove(m_path));
        m_source.send(m_path, FileEvent::Delete);
        QTRY_COMPARE_WITH_TIMEOUT(watcher->maxRetry(), 1, 5000);
        QVERIFY(capture.messages(LogLevel::error).last().startsWith(failure));
        TestEnvironment::writeFile(m_path, "back");
        QTRY_VERIFY_WITH_TIMEOUT(watcher->isWatching(), 5000);
        QCOMPARE(watcher->maxRetry(), 1); // a success gives nothing back

        // Second: the one attempt left fails, and the watcher gives up.
        QVERIFY(QFile::remove(m_path));
        capture.clear();
        m_source.send(m_path, FileEvent::Delete);
        QTRY_COMPARE_WITH_TIMEOUT(watcher->maxRetry(), 0, 5000);
        const QStringList errors = capture.messages(LogLevel::error);
        QCOMPARE(errors.size(), 3);
        QCOMPARE(errors[0], QStringLiteral("cannot open ") + m_path);
        QVERIFY(errors[1].startsWith(failure));
        QCOMPARE(errors[2],
                 QStringLiteral("maxretry reached, could not watch file at path ") + m_path);

        // Idle for good, even when the file comes back.
        TestEnvironment::writeFile(m_path, "back again");
        runEventLoop(1500);
        QVERIFY(!watcher->isWatching());
        QCOMPARE(capture.messages(LogLevel::error).size(), 3);
    }

    void aDestroyedWatcherMakesNoAttempt()
    {
        auto watcher = makeWatcher();
        watcher->start();
        QVERIFY(QFile::remove(m_path));
        m_source.send(m_path, FileEvent::Delete);
        watcher.reset();
        LogCapture capture;
        runEventLoop(1300);
        QVERIFY(capture.entries().isEmpty());
    }
};

BRAMBLEWORTH_TEST_MAIN(TestFileWatcher)
#include "test_filewatcher.moc"
