// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/TestEnvironment.h"

#include "Model/Script.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <sys/resource.h>

// Drives the built program the way a terminal does: `brambleworth --list`,
// `brambleworth --run NAME_OR_ID`.
class TestCommandLine : public QObject
{
    Q_OBJECT

    struct Result
    {
        int status = -1;
        QByteArray out;
        QByteArray err;
    };

    QTemporaryDir m_folder;
    ScriptList m_library;

    QStringList arguments(const QStringList& options, const QString& includeBuiltIns = "NO") const
    {
        return QStringList{QStringLiteral("-CUSTOM_APPLICATION_SUPPORT_DIRECTORY"), m_folder.path(),
                           QStringLiteral("-IncludeBuiltInScripts"), includeBuiltIns} +
               options;
    }

    QStringList runArguments(const QString& nameOrId) const
    {
        return arguments({QStringLiteral("--run"), nameOrId});
    }

    // Text whose "é" straddles the first 64 KiB, then bytes that are not text at all.
    static QByteArray bytesOfTheFile()
    {
        QByteArray bytes(65535, 'a');
        bytes += "\xc3\xa9";
        bytes += QByteArray(9999, 'b');
        bytes += QByteArray("\0\xff\xfe\xc3", 4);
        bytes += QByteArray(75538 - bytes.size(), '\n');
        return bytes;
    }

    static Result run(const QStringList& arguments, const QString& program = {})
    {
        QProcess process;
        if (program.isEmpty())
            process.start(QStringLiteral(BRAMBLEWORTH_BINARY), arguments);
        else
            process.start(program, arguments);
        Result result;
        if (!process.waitForFinished(20000))
            return result;
        result.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
        result.out = process.readAllStandardOutput();
        result.err = process.readAllStandardError();
        return result;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_folder.isValid());
        const QString marker = m_folder.path() + QStringLiteral("/ran-");
        const QList<QStringList> scripts{
            {"ID-HELLO", "hello", "#!/bin/sh\nprintf 'hello\\n'\n"},
            {"ID-THREE", "three", "#!/bin/sh\nprintf 'out\\n'\nexit 3\n"},
            {"ID-ERR", "to stderr", "#!/bin/sh\necho oops >&2\nexit 1\n"},
            {"ID-SIG", "killed", "#!/bin/sh\nkill -TERM $$\n"},
            {"ID-EMPTY", "empty", ""},
            {"ID-BLANK", "blank", " "},
            {"ID-TWIN-1", "twin", "#!/bin/sh\ntouch '" + marker + "1'\n"},
            {"ID-TWIN-2", "twin", "#!/bin/sh\ntouch '" + marker + "2'\n"},
            // An id wins over a name that happens to equal it.
            {"hello-id", "id wins", "#!/bin/sh\necho by id\n"},
            {"ID-OTHER", "hello-id", "#!/bin/sh\necho by name\n"},
            {"ID-STREAM", "stream",
             "#!/bin/sh\nprintf 'first\\n'\nwhile [ ! -e '" + m_folder.path() +
                 "/go' ]; do sleep 0.05; done\nprintf 'second\\n'\n"},
            {"ID-BYTES", "bytes", "#!/bin/sh\ncat '" + m_folder.path() + "/bytes'\n"},
            {"ID-APART", "apart",
             "#!/bin/sh\nprintf 'o1\\n'\nprintf 'e1\\n' >&2\nprintf 'o2\\n'\n"},
            {"ID-LIMITS", "limits", "#!/bin/sh\ngrep 'Max open files' /proc/$PPID/limits\n"},
            {"ID-SLEEPER", "sleeper",
             "#!/bin/sh\necho $$ > '" + m_folder.path() +
                 "/sleeper.pid'\nprintf 'ready\\n'\nsleep 30\nprintf 'woke\\n'\n"},
        };
        for (const QStringList& script : scripts) {
            m_library << Script::create(script[1], script[2], false);
            m_library.last()->setId(script[0]);
        }
        m_library.first()->setCategory(QStringLiteral("Work"));
        TestEnvironment::writeFile(m_folder.path() + QStringLiteral("/bytes"), bytesOfTheFile());
        TestEnvironment::writeFile(
            m_folder.path() + QStringLiteral("/org.brambleworth.Brambleworth/Brambleworth.json"),
            *Script::encodeLibrary(m_library));
    }

    void listShowsBuiltInsFirstThenTheLibrary_data()
    {
        QTest::addColumn<QString>("includeBuiltIns");
        QTest::addColumn<int>("builtInLines");
        QTest::newRow("YES") << "YES" << 9;
        QTest::newRow("NO") << "NO" << 0;
    }

    void listShowsBuiltInsFirstThenTheLibrary()
    {
        QFETCH(QString, includeBuiltIns);
        QFETCH(int, builtInLines);
        const Result result = run(arguments({QStringLiteral("--list")}, includeBuiltIns));
        QCOMPARE(result.status, 0);
        const QStringList lines =
            QString::fromUtf8(result.out).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), builtInLines + m_library.size());
        for (int i = 0; i < builtInLines; ++i)
            QVERIFY2(lines.at(i).startsWith(QStringLiteral("org.brambleworth.builtin.")),
                     qPrintable(lines.at(i)));
        QCOMPARE(lines.at(builtInLines), QStringLiteral("ID-HELLO\thello\tWork"));
        QCOMPARE(lines.at(builtInLines + 1), QStringLiteral("ID-THREE\tthree\t"));
        QCOMPARE(lines.last(), QStringLiteral("ID-SLEEPER\tsleeper\t"));
    }

    void listOfAFirstStartIsEmpty()
    {
        const QString fresh = m_folder.path() + QStringLiteral("/fresh");
        const Result result = run({QStringLiteral("-CUSTOM_APPLICATION_SUPPORT_DIRECTORY"), fresh,
                                   QStringLiteral("--list")});
        QCOMPARE(result.status, 0);
        QCOMPARE(result.out, QByteArray());
        // No file yet is no error.
        QCOMPARE(result.err, QByteArray());
        QVERIFY(QFileInfo(fresh + QStringLiteral("/org.brambleworth.Brambleworth")).isDir());
    }

    void versionHelpAndUnknownOptions()
    {
        const Result version = run({QStringLiteral("--version")});
        QCOMPARE(version.status, 0);
        QVERIFY2(version.out.startsWith("brambleworth "), version.out.constData());
        const Result help = run({QStringLiteral("--help")});
        QCOMPARE(help.status, 0);
        QVERIFY(help.out.contains("--list"));
        QVERIFY(help.out.contains("--run"));
        QVERIFY(help.out.contains("-CUSTOM_APPLICATION_SUPPORT_DIRECTORY"));
        const Result unknown = run({QStringLiteral("--frobnicate")});
        QCOMPARE(unknown.status, 1);
        QVERIFY2(unknown.err.contains("frobnicate"), unknown.err.constData());
    }

    void runsScriptAndPassesItsStatusOn_data()
    {
        QTest::addColumn<QString>("nameOrId");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("out");
        QTest::addColumn<QByteArray>("err");
        QTest::newRow("by name") << QStringLiteral("hello") << 0 << QByteArray("hello\n")
                                 << QByteArray();
        QTest::newRow("by id") << QStringLiteral("ID-HELLO") << 0 << QByteArray("hello\n")
                               << QByteArray();
        QTest::newRow("exit status 3")
            << QStringLiteral("three") << 3 << QByteArray("out\n") << QByteArray();
        QTest::newRow("stderr stays stderr, status 1")
            << QStringLiteral("to stderr") << 1 << QByteArray() << QByteArray("oops\n");
        QTest::newRow("both streams kept apart")
            << QStringLiteral("apart") << 0 << QByteArray("o1\no2\n") << QByteArray("e1\n");
        // A character across the first read, a NUL, bytes that are not UTF-8 and a cut
        // character at the end: all passed through as they are.
        QTest::newRow("bytes unchanged")
            << QStringLiteral("bytes") << 0 << bytesOfTheFile() << QByteArray();
        QTest::newRow("ended by a signal")
            << QStringLiteral("killed") << 128 + 15 << QByteArray() << QByteArray();
        QTest::newRow("id before name")
            << QStringLiteral("hello-id") << 0 << QByteArray("by id\n") << QByteArray();
    }

    void runsScriptAndPassesItsStatusOn()
    {
        QFETCH(QString, nameOrId);
        QFETCH(int, status);
        QFETCH(QByteArray, out);
        QFETCH(QByteArray, err);
        const Result result = run(runArguments(nameOrId));
        QCOMPARE(result.out.size(), out.size());
        QCOMPARE(result.out, out);
        QCOMPARE(result.err, err);
        QCOMPARE(result.status, status);
    }

    void unreadableLibraryFailsWithItsReason_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::newRow("list") << QStringList{QStringLiteral("--list")};
        QTest::newRow("run") << QStringList{QStringLiteral("--run"), QStringLiteral("hello")};
    }

    void unreadableLibraryFailsWithItsReason()
    {
        QFETCH(QStringList, options);
        const QString folder = m_folder.path() + QStringLiteral("/corrupt");
        TestEnvironment::writeFile(
            folder + QStringLiteral("/org.brambleworth.Brambleworth/Brambleworth.json"),
            "[{\"id\": ");
        const Result result = run(
            QStringList{QStringLiteral("-CUSTOM_APPLICATION_SUPPORT_DIRECTORY"), folder} + options);
        QCOMPARE(result.status, 1);
        QCOMPARE(result.out, QByteArray());
        QVERIFY2(result.err.contains("Brambleworth.json"), result.err.constData());
        QVERIFY2(!result.err.contains("no script has"), result.err.constData());
    }

    void argumentDomainTakesShortKeysAndIgnoresALoneOne_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::newRow("lone key at the end")
            << QStringList{QStringLiteral("--list"), QStringLiteral("-IncludeBuiltInScripts")};
        QTest::newRow("one-letter key")
            << QStringList{QStringLiteral("-X"), QStringLiteral("1"), QStringLiteral("--list")};
        QTest::newRow("lone one-letter key")
            << QStringList{QStringLiteral("--list"), QStringLiteral("-X")};
    }

    void argumentDomainTakesShortKeysAndIgnoresALoneOne()
    {
        QFETCH(QStringList, options);
        const Result result = run(arguments(options));
        QCOMPARE(result.status, 0);
        QVERIFY2(result.out.startsWith("ID-HELLO\thello\tWork\n"), result.out.constData());
    }

    void verboseMirrorsProgressToStandardError()
    {
        const Result result = run(arguments(
            {QStringLiteral("--verbose"), QStringLiteral("--run"), QStringLiteral("hello")}));
        QCOMPARE(result.status, 0);
        QCOMPARE(result.out, QByteArray("hello\n"));
        QVERIFY2(result.err.contains("try to execute "), result.err.constData());
    }

    void openFileLimitIsRaisedToTheHardLimit()
    {
        rlimit limit{};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &limit), 0);
        if (limit.rlim_max != RLIM_INFINITY && limit.rlim_max <= 256)
            QSKIP("the hard limit leaves nothing to raise");
        const Result result =
            run(QStringList{QStringLiteral("-c"),
                            QStringLiteral("ulimit -Sn 256 && exec \"$0\" \"$@\""),
                            QStringLiteral(BRAMBLEWORTH_BINARY)} +
                    runArguments(QStringLiteral("limits")),
                QStringLiteral("/bin/sh"));
        QCOMPARE(result.status, 0);
        // "Max open files  SOFT  HARD  files"
        const QList<QByteArray> fields = result.out.simplified().split(' ');
        QCOMPARE(fields.size(), 6);
        QVERIFY2(fields[3] != "256", result.out.constData());
        QCOMPARE(fields[3], fields[4]);
    }

    void refusesWithOneLine_data()
    {
        QTest::addColumn<QString>("nameOrId");
        QTest::addColumn<QString>("reason");
        QTest::newRow("unknown") << QStringLiteral("no such script")
                                 << QStringLiteral("no such script");
        QTest::newRow("name is case sensitive")
            << QStringLiteral("Hello") << QStringLiteral("Hello");
        QTest::newRow("empty script") << QStringLiteral("empty") << QStringLiteral("empty");
        QTest::newRow("launch failure")
            << QStringLiteral("blank") << QString::fromLocal8Bit(std::strerror(ENOEXEC));
    }

    void refusesWithOneLine()
    {
        QFETCH(QString, nameOrId);
        QFETCH(QString, reason);
        const Result result = run(runArguments(nameOrId));
        QCOMPARE(result.status, 1);
        QCOMPARE(result.out, QByteArray());
        const QString err = QString::fromUtf8(result.err);
        QCOMPARE(err.count(QLatin1Char('\n')), 1);
        QVERIFY(err.endsWith(QLatin1Char('\n')));
        QVERIFY2(err.contains(reason), qPrintable(err));
    }

    void ambiguousNameRunsNothing()
    {
        const Result result = run(runArguments(QStringLiteral("twin")));
        QCOMPARE(result.status, 1);
        QCOMPARE(result.out, QByteArray());
        const QStringList lines =
            QString::fromUtf8(result.err).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 3);
        QVERIFY(lines[1].startsWith(QStringLiteral("ID-TWIN-1\ttwin")));
        QVERIFY(lines[2].startsWith(QStringLiteral("ID-TWIN-2\ttwin")));
        QTest::qWait(200);
        QVERIFY(QDir(m_folder.path()).entryList({QStringLiteral("ran-*")}, QDir::Files).isEmpty());
    }

    void outputIsStreamedWhileTheScriptRuns()
    {
        QProcess process;
        process.start(QStringLiteral(BRAMBLEWORTH_BINARY), runArguments(QStringLiteral("stream")));
        QVERIFY(process.waitForStarted());
        QByteArray out;
        QTRY_VERIFY_WITH_TIMEOUT((out += process.readAllStandardOutput()) == "first\n", 10000);
        // The script waits for us: the first line came out while it was still running.
        QCOMPARE(process.state(), QProcess::Running);
        TestEnvironment::writeFile(m_folder.path() + QStringLiteral("/go"), {});
        QVERIFY(process.waitForFinished(10000));
        out += process.readAllStandardOutput();
        QCOMPARE(out, QByteArray("first\nsecond\n"));
        QCOMPARE(process.exitCode(), 0);
    }

    void interruptIsPassedOnToTheScript_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("interrupt key") << SIGINT;
        QTest::newRow("termination request") << SIGTERM;
    }

    void interruptIsPassedOnToTheScript()
    {
        QFETCH(int, signal);
        QProcess process;
        process.start(QStringLiteral(BRAMBLEWORTH_BINARY), runArguments(QStringLiteral("sleeper")));
        QVERIFY(process.waitForStarted());
        QByteArray out;
        QTRY_VERIFY_WITH_TIMEOUT((out += process.readAllStandardOutput()) == "ready\n", 10000);
        const pid_t script =
            TestEnvironment::readFile(m_folder.path() + QStringLiteral("/sleeper.pid"))
                .trimmed()
                .toInt();
        QVERIFY(script > 0);
        // Wait for `sleep` to run: an interrupt that lands while the shell is between fork and
        // exec is lost on the way, and the shell then goes on with the script.
        const QString children = QStringLiteral("/proc/%1/task/%1/children").arg(script);
        QTRY_VERIFY_WITH_TIMEOUT(!TestEnvironment::readFile(children).trimmed().isEmpty(), 10000);
        const QByteArray child = TestEnvironment::readFile(children).trimmed().split(' ').first();
        QTRY_COMPARE_WITH_TIMEOUT(
            TestEnvironment::readFile(
                QStringLiteral("/proc/%1/comm").arg(QString::fromLatin1(child)))
                .trimmed(),
            QByteArray("sleep"), 10000);

        ::kill(pid_t(process.processId()), signal);
        QVERIFY(process.waitForFinished(10000));
        // The script got an interrupt whatever brambleworth was sent, and brambleworth ended
        // with it.
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 128 + SIGINT);
        QCOMPARE(out + process.readAllStandardOutput(), QByteArray("ready\n"));
        QTRY_VERIFY_WITH_TIMEOUT(::kill(script, 0) != 0, 5000);
    }
};

BRAMBLEWORTH_TEST_MAIN(TestCommandLine)
#include "test_commandline.moc"
