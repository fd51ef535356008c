// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/TestEnvironment.h"

#include "Execution/ExecutorManagerError.h"
#include "Execution/ScriptExecutorManager.h"
#include "QuillonCommons/LogCapture.h"
#include "QuillonCommons/ProcessLimits.h"

#include <QDir>
#include <QFileInfo>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QUrl>
#include <QUuid>

#include <csignal>
#include <cstring>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace {

constexpr int runTimeout = 10000;

ScriptPtr makeScript(const QString& content, bool keepLog = false,
                     const QString& name = QStringLiteral("test"))
{
    ScriptPtr script = Script::create(name, content, false);
    script->setKeepLog(keepLog);
    return script;
}

// The file of the last run started while `capture` was recording.
QString lastScriptFile(const LogCapture& capture)
{
    const QStringList lines = capture.messages(LogLevel::debug);
    for (qsizetype i = lines.size() - 1; i >= 0; --i) {
        if (lines[i].startsWith(QStringLiteral("try to execute ")))
            return QUrl(lines[i].mid(15)).toLocalFile();
    }
    return {};
}

mode_t permissionsOf(const QString& path)
{
    struct stat info
    {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return mode_t(-1);
    return info.st_mode & 07777;
}

// A new file is made with 0666 less the umask.
mode_t createdPermissions()
{
    const mode_t umask = ::umask(0);
    ::umask(umask);
    return 0666 & ~umask;
}

// True when some child of this process has ended and is waiting to be reaped.
bool hasZombieChild()
{
    siginfo_t info{};
    if (::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) != 0)
        return false; // ECHILD: no children at all
    return info.si_pid != 0;
}

// The command name of the first child of `pid`, once it has one.
QByteArray firstChildCommand(pid_t pid)
{
    const QByteArray children =
        TestEnvironment::readFile(QStringLiteral("/proc/%1/task/%1/children").arg(pid)).trimmed();
    if (children.isEmpty())
        return {};
    const QByteArray child = children.split(' ').first();
    return TestEnvironment::readFile(
               QStringLiteral("/proc/%1/comm").arg(QString::fromLatin1(child)))
        .trimmed();
}

bool ended(const RunningScriptPtr& run)
{
    return run->termination().has_value();
}

} // namespace

class TestScriptExecutor : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_temp;
    std::unique_ptr<ScriptExecutorManager> m_executor;
    std::unique_ptr<LogCapture> m_capture;

    RunningScriptPtr start(const ScriptPtr& script)
    {
        try {
            m_executor->startExecution(script);
        } catch (const std::exception& error) {
            qWarning("startExecution threw: %s", error.what());
            return nullptr;
        }
        const RunningScriptList runs = m_executor->runningScripts();
        return runs.isEmpty() ? nullptr : runs.last();
    }

    // A kept run of `content`, once it has ended; null when it did not start or did not end.
    RunningScriptPtr runToEnd(const QString& content)
    {
        const RunningScriptPtr run = start(makeScript(content, true));
        if (!run || !QTest::qWaitFor([&] { return ended(run); }, runTimeout))
            return nullptr;
        return run;
    }

private slots:
    void init()
    {
        // Every run's scratch directory lands here, where the test can count them.
        m_temp = std::make_unique<QTemporaryDir>();
        QVERIFY(m_temp->isValid());
        qputenv("TMPDIR", QFile::encodeName(m_temp->path()));
        qunsetenv("XDG_RUNTIME_DIR");
        m_capture = std::make_unique<LogCapture>();
        m_executor = std::make_unique<ScriptExecutorManager>();
    }

    void cleanup()
    {
        // A process object is released later, from the event loop: let that happen before the
        // test ends, or the leak check at exit finds it.
        if (m_executor)
            TestEnvironment::finishRuns(*m_executor);
        m_executor.reset();
        m_capture.reset();
        m_temp.reset();
        qunsetenv("TMPDIR");
    }

    void scriptsGetTheOpenFileLimitTheProgramStartedWith()
    {
        rlimit before{};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &before), 0);
        if (before.rlim_max != RLIM_INFINITY && before.rlim_max <= 1024)
            QSKIP("the hard limit leaves no room to raise the soft one");
        rlimit usual = before;
        usual.rlim_cur = 1024;
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &usual), 0);
        const auto restore = qScopeGuard([&] { ::setrlimit(RLIMIT_NOFILE, &before); });
        ProcessLimits::raiseOpenFileLimit();

        const RunningScriptPtr run = runToEnd(QStringLiteral("#!/bin/sh\nulimit -Sn\n"));
        QVERIFY(run);
        QCOMPARE(run->logs(), QStringLiteral("1024\n"));
        // The program itself keeps the raised limit.
        rlimit after{};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &after), 0);
        QCOMPARE(after.rlim_cur, before.rlim_max);
    }

    void scriptFileLivesInItsOwnDirectoryAndSeesThreeArguments()
    {
        QStringList folders;
        for (const bool dropsItsBit : {false, true}) {
            const QString content =
                QStringLiteral("#!/bin/sh\nprintf '%s|' \"$#\" \"$1\" \"$2\" \"$3\" \"$0\"\necho\n"
                               "stat -c %a \"$3\"\nls -A \"$(dirname \"$3\")\"\n") +
                (dropsItsBit ? QStringLiteral("chmod u-x \"$3\"\n") : QString());
            const RunningScriptPtr run = runToEnd(content);
            QVERIFY(run);
            const QString file = lastScriptFile(*m_capture);
            const QFileInfo info(file);
            QCOMPARE(info.suffix(), QStringLiteral("sh"));
            QVERIFY(!QUuid::fromString(info.completeBaseName()).isNull());
            QCOMPARE(info.dir().dirName().left(13), QStringLiteral("brambleworth-"));
            QCOMPARE(permissionsOf(info.absolutePath()), mode_t(0700));
            // While it ran: its own "#!" line made it $0 too, owner-executable, alone in its
            // directory.
            const QStringList seen = run->logs().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
            QCOMPARE(seen.size(), 3);
            QCOMPARE(seen[0], QStringLiteral("3|/bin/sh|-c|%1|%1|").arg(file));
            QVERIFY2(seen[1].toInt(nullptr, 8) & S_IXUSR, qPrintable(seen[1]));
            QCOMPARE(seen[2], info.fileName());
            // Afterwards: still there, same text, the execute bit toggled rather than cleared,
            // so a script that dropped it gets it back.
            QCOMPARE(TestEnvironment::readFile(file), content.toUtf8());
            QCOMPARE(permissionsOf(file), createdPermissions() | (dropsItsBit ? S_IXUSR : 0));
            folders << info.absolutePath();
        }
        QVERIFY(folders[0] != folders[1]);
    }

    void outputOfBothPipesFormsTheLog_data()
    {
        QTest::addColumn<QString>("content");
        QTest::addColumn<QString>("expected");
        const auto sh = [](const char* body) {
            return "#!/bin/sh\n" + QString::fromUtf8(body);
        };
        QTest::newRow("a on stdout then b on stderr")
            << sh("printf a\nprintf b >&2\n") << QStringLiteral("ab");
        QTest::newRow("no output") << sh("") << QString();
        // More than a pipe holds, written right before the end: nothing may be lost.
        QTest::newRow("three megabytes then exit")
            << sh("head -c 3000000 /dev/zero | tr '\\0' x\n") << QString(3000000, QLatin1Char('x'));
        QTest::newRow("not a shell")
            << QStringLiteral("#!/usr/bin/env python3\nprint('py')\n") << QStringLiteral("py\n");
        // Pauses make each printf a chunk of its own; a chunk that is not UTF-8 is dropped.
        QTest::newRow("invalid bytes between valid chunks")
            << sh("printf x; sleep 0.3; printf '\\377\\376'; sleep 0.3; printf y")
            << QStringLiteral("xy");
        // A read that cuts a character leaves it to the next read of the same pipe.
        QTest::newRow("character split across chunks")
            << sh("printf x; sleep 0.3; printf '\\303'; sleep 0.3; printf '\\251y'")
            << QStringLiteral("x\u00e9y");
        QTest::newRow("split on stdout while stderr writes")
            << sh("printf '\\360\\237'; sleep 0.3; printf e >&2; sleep 0.3; printf '\\230\\200'")
            << QStringLiteral("e\U0001F600");
        QTest::newRow("character cut by the end of output")
            << sh("printf 'end\\342\\202'") << QStringLiteral("end");
        // Two megabytes in which every read of a full pipe ends inside a character.
        QTest::newRow("megabytes of two-byte characters at an odd offset")
            << sh("printf x; yes \u00e9 | head -n 700000")
            << QStringLiteral("x") + QStringLiteral("\u00e9\n").repeated(700000);
        QTest::newRow("character whole in one chunk")
            << sh("printf x; sleep 0.3; printf '\\303\\251'") << QStringLiteral("x\u00e9");
    }

    void outputOfBothPipesFormsTheLog()
    {
        QFETCH(QString, content);
        QFETCH(QString, expected);
        const RunningScriptPtr run = start(makeScript(content, true));
        QVERIFY(run);
        // Complete when the end is announced: whoever stops listening then loses nothing.
        QString logsAtEnd;
        connect(run.get(), &RunningScript::terminated, this, [&] { logsAtEnd = run->logs(); });
        // What each chunk added, put together, is the whole log too.
        QString appended;
        connect(run.get(), &RunningScript::logsAppended, this,
                [&](QStringView text) { appended += text; });
        QTRY_VERIFY_WITH_TIMEOUT(ended(run), runTimeout);
        QCOMPARE(logsAtEnd.size(), expected.size());
        QCOMPARE(logsAtEnd, expected);
        QCOMPARE(appended, expected);
        QCOMPARE(run->utf8Logs(), expected.toUtf8());
        QCOMPARE(run->termination()->status, 0);
    }

    void endOfARunIsPublished_data()
    {
        QTest::addColumn<bool>("keep");
        QTest::newRow("kept") << true;
        QTest::newRow("not kept") << false;
    }

    void endOfARunIsPublished()
    {
        QFETCH(bool, keep);
        const RunningScriptPtr first = start(makeScript(QStringLiteral("#!/bin/sh\nsleep 30\n")));
        QVERIFY(first);
        QSignalSpy listSpy(m_executor.get(), &ScriptExecutorManager::runningScriptsChanged);
        const RunningScriptPtr run = start(
            makeScript(QStringLiteral("#!/bin/sh\nprintf one\nsleep 0.3\nprintf two\n"), keep));
        QVERIFY(run);
        // Listed and running once started.
        QCOMPARE(listSpy.size(), 1);
        QCOMPARE(listSpy[0][0].value<RunningScriptList>(), (RunningScriptList{first, run}));
        QVERIFY(run->isRunning());
        QVERIFY(run->process());
        QCOMPARE(run->keep(), keep);
        QVERIFY(!run->id().isEmpty() && run->id() == run->id().toUpper());

        QSignalSpy runningSpy(run.get(), &RunningScript::isRunningChanged);
        QStringList published;
        connect(run.get(), &RunningScript::logsChanged, this, [&] { published << run->logs(); });
        QTRY_VERIFY_WITH_TIMEOUT(ended(run), runTimeout);
        // The removal is queued behind the end: let it happen.
        QTest::qWait(50);
        // After each publication the log is the whole text so far.
        QCOMPARE(published, (QStringList{QStringLiteral("one"), QStringLiteral("onetwo")}));
        QCOMPARE(runningSpy.size(), 1);
        QCOMPARE(runningSpy[0][0].toBool(), false);
        QVERIFY(!run->process());
        QCOMPARE(m_executor->runningScripts(),
                 (keep ? RunningScriptList{first, run} : RunningScriptList{first}));
        QCOMPARE(listSpy.size(), keep ? 1 : 2);
        if (!keep)
            QCOMPARE(listSpy[1][0].value<RunningScriptList>(), RunningScriptList{first});

        m_executor->stop(first);
        QTRY_VERIFY_WITH_TIMEOUT(ended(first), runTimeout);
        if (keep) {
            m_executor->stop(run);
            QVERIFY(m_executor->runningScripts().isEmpty());
        }
    }

    void endOfRunLogsTheStatusLine()
    {
        const ScriptPtr script = makeScript(QStringLiteral("#!/bin/sh\nsleep 0.2\nexit 3\n"), true,
                                            QStringLiteral("My script"));
        const RunningScriptPtr run = start(script);
        QVERIFY(run);
        // The line names the script as it is called when the run ends; the run keeps its first
        // name.
        script->setName(QStringLiteral("Renamed script"));
        QTRY_VERIFY_WITH_TIMEOUT(ended(run), runTimeout);
        QCOMPARE(run->name(), QStringLiteral("My script"));
        QCOMPARE(m_capture->count(LogLevel::debug,
                                  QStringLiteral("script Renamed script ended with code 3)")),
                 1);
        QCOMPARE(run->termination()->shellStatus(), 3);
    }

    void stopInterruptsAndRemovesAtOnce_data()
    {
        QTest::addColumn<QString>("body");
        QTest::addColumn<bool>("survivesInterrupt");
        QTest::newRow("ends on interrupt") << QStringLiteral("echo ready\nsleep 30\n") << false;
        QTest::newRow("ignores interrupt")
            << QStringLiteral("trap '' INT\necho ready\nsleep 30\n") << true;
    }

    void stopInterruptsAndRemovesAtOnce()
    {
        QFETCH(QString, body);
        QFETCH(bool, survivesInterrupt);
        const RunningScriptPtr run = start(makeScript(QStringLiteral("#!/bin/sh\n") + body, true));
        QVERIFY(run);
        QTRY_COMPARE_WITH_TIMEOUT(run->logs(), QStringLiteral("ready\n"), runTimeout);
        const pid_t pid = run->process()->processIdentifier();
        // Only once `sleep` runs is the shell waiting for it: earlier, an interrupt can land
        // while the shell is between fork and exec, and the shell then goes on with the script.
        QTRY_COMPARE_WITH_TIMEOUT(firstChildCommand(pid), QByteArray("sleep"), runTimeout);
        QSignalSpy listSpy(m_executor.get(), &ScriptExecutorManager::runningScriptsChanged);

        m_executor->stop(run);
        // Gone at once, kept or not, whatever the process does with the signal.
        QVERIFY(m_executor->runningScripts().isEmpty());
        QCOMPARE(listSpy.size(), 1);
        QVERIFY(!run->isRunning());
        QVERIFY(!run->process());

        if (survivesInterrupt) {
            QTest::qWait(300);
            QCOMPARE(::kill(pid, 0), 0);
            ::kill(-pid, SIGKILL);
        }
        // The process's end is still seen and logged. An interrupt (not a termination request)
        // ends the script: the shell dies of it or exits with 128 + SIGINT.
        QTRY_VERIFY_WITH_TIMEOUT(ended(run), runTimeout);
        QCOMPARE(run->termination()->shellStatus(), 128 + (survivesInterrupt ? SIGKILL : SIGINT));
        QVERIFY(m_capture->contains(
            LogLevel::debug,
            QStringLiteral("script test ended with code %1)").arg(run->termination()->status)));
    }

    void refusedScriptsWriteAndListNothing_data()
    {
        QTest::addColumn<QString>("content");
        QTest::addColumn<bool>("withTemporaryFolder");
        QTest::addColumn<int>("errorCase");
        QTest::newRow("empty content")
            << QString() << true << int(ExecutorManagerError::scriptIsEmpty);
        QTest::newRow("empty content, no temporary folder")
            << QString() << false << int(ExecutorManagerError::scriptIsEmpty);
        QTest::newRow("no temporary folder")
            << QStringLiteral("#!/bin/sh\n") << false << int(ExecutorManagerError::internalError);
    }

    void refusedScriptsWriteAndListNothing()
    {
        QFETCH(QString, content);
        QFETCH(bool, withTemporaryFolder);
        QFETCH(int, errorCase);
        if (!withTemporaryFolder)
            qputenv("TMPDIR", "/proc"); // no directory can be made there, not even by root
        QSignalSpy listSpy(m_executor.get(), &ScriptExecutorManager::runningScriptsChanged);

        std::optional<ExecutorManagerError::Case> thrown;
        try {
            m_executor->startExecution(makeScript(content));
        } catch (const ExecutorManagerError& error) {
            thrown = error.errorCase();
        }
        QVERIFY(thrown);
        QCOMPARE(int(*thrown), errorCase);
        QVERIFY(QDir(m_temp->path())
                    .entryList({QStringLiteral("brambleworth-*")}, QDir::Dirs)
                    .isEmpty());
        QVERIFY(!m_capture->messages(LogLevel::debug)
                     .join('\n')
                     .contains(QStringLiteral("Save script to")));
        QVERIFY(m_executor->runningScripts().isEmpty());
        QCOMPARE(listSpy.size(), 0);
        // Only a failed attempt at a folder is worth an error line.
        const QStringList errors = m_capture->messages(LogLevel::error);
        if (errorCase == int(ExecutorManagerError::internalError)) {
            QCOMPARE(errors.size(), 1);
            QVERIFY2(errors[0].startsWith(QStringLiteral("tempraryFile():")),
                     qPrintable(errors[0]));
        } else {
            QVERIFY(errors.isEmpty());
        }
    }

    void launchFailuresReachTheCaller_data()
    {
        QTest::addColumn<QString>("content");
        QTest::addColumn<int>("errnoValue");
        // White space is content: written and launched, and the system refuses a file without
        // "#!".
        QTest::newRow("single space") << QStringLiteral(" ") << ENOEXEC;
        QTest::newRow("missing interpreter")
            << QStringLiteral("#!/nonexistent/interpreter\n") << ENOENT;
    }

    void launchFailuresReachTheCaller()
    {
        QFETCH(QString, content);
        QFETCH(int, errnoValue);
        QTRY_VERIFY_WITH_TIMEOUT(!hasZombieChild(), runTimeout); // earlier tests' children
        QSignalSpy listSpy(m_executor.get(), &ScriptExecutorManager::runningScriptsChanged);
        std::optional<AppError> thrown;
        try {
            m_executor->startExecution(makeScript(content));
        } catch (const ExecutorManagerError&) {
            QFAIL("a launch failure is the system's error, not the executor's");
        } catch (const AppError& error) {
            thrown = error;
        }
        QVERIFY(thrown);
        QCOMPARE(thrown->errnoValue(), errnoValue);
        QCOMPARE(thrown->failureReason(), QString::fromLocal8Bit(std::strerror(errnoValue)));
        const QString file = lastScriptFile(*m_capture);
        QVERIFY(thrown->description().contains(file));
        QCOMPARE(TestEnvironment::readFile(file), content.toUtf8());
        QVERIFY(m_executor->runningScripts().isEmpty());
        QCOMPARE(listSpy.size(), 0);
        // The child that failed to exec is reaped on the spot, with no event loop involved.
        QVERIFY(!hasZombieChild());
    }

    void everyChildIsReaped()
    {
        const QStringList contents = {
            QStringLiteral("#!/bin/sh\n"),
            QStringLiteral("#!/bin/sh\necho out; echo err >&2; exit 7\n"),
            QStringLiteral("#!/bin/sh\nkill -TERM $$\n"),
            // Leaves a grandchild holding the pipes for a while.
            QStringLiteral("#!/bin/sh\n(sleep 0.5; echo late) &\necho early\n"),
        };
        RunningScriptList runs;
        for (int i = 0; i < 40; ++i) {
            const RunningScriptPtr run =
                start(makeScript(contents[i % contents.size()], i % 2 == 0));
            QVERIFY(run);
            runs << run;
        }
        QTRY_VERIFY_WITH_TIMEOUT(std::all_of(runs.begin(), runs.end(), ended), runTimeout);
        QVERIFY(!hasZombieChild());
        // Output of a grandchild still arrives after the end of its script.
        QTRY_COMPARE_WITH_TIMEOUT(runs[3]->logs(), QStringLiteral("early\nlate\n"), runTimeout);
        QCOMPARE(runs[1]->termination()->status, 7);
        QCOMPARE(runs[2]->termination()->shellStatus(), 128 + SIGTERM);
        QTest::qWait(800);
        QVERIFY(!hasZombieChild());
    }

    void childrenOutliveTheExecutor()
    {
        const QString content =
            QStringLiteral("#!/bin/sh\nsleep 0.5\necho finished > '%1'\necho gone\n");
        const QString marker = m_temp->path() + QStringLiteral("/marker");
        const RunningScriptPtr run = start(makeScript(content.arg(marker), true));
        QVERIFY(run);
        const pid_t pid = run->process()->processIdentifier();
        const QString file = lastScriptFile(*m_capture);
        // A second run that nobody but the executor holds: it goes with the executor, its
        // process does not.
        const QString orphanMarker = m_temp->path() + QStringLiteral("/orphan");
        QVERIFY(start(makeScript(content.arg(orphanMarker))));

        m_executor.reset();
        QVERIFY(!ended(run));
        QCOMPARE(::kill(pid, 0), 0);
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(marker) && QFileInfo::exists(orphanMarker),
                                 runTimeout);
        QCOMPARE(TestEnvironment::readFile(marker), QByteArray("finished\n"));
        QCOMPARE(TestEnvironment::readFile(orphanMarker), QByteArray("finished\n"));
        // Still reaped, logged and restored without an executor.
        QTRY_VERIFY_WITH_TIMEOUT(ended(run), runTimeout);
        QCOMPARE(run->logs(), QStringLiteral("gone\n"));
        QTRY_COMPARE_WITH_TIMEOUT(
            m_capture->count(LogLevel::debug, QStringLiteral("script test ended with code 0)")), 2,
            runTimeout);
        QCOMPARE(permissionsOf(file) & S_IXUSR, mode_t(0));
        QVERIFY(!hasZombieChild());
    }
};

BRAMBLEWORTH_TEST_MAIN(TestScriptExecutor)
#include "test_scriptexecutor.moc"
