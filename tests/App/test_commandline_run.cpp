// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/TestEnvironment.h"

#include "QuillonCommons/JsonWriter.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <cerrno>
#include <csignal>
#include <cstring>

// Drives the built program the way a terminal does: `brambleworth --run NAME_OR_ID`.
class TestCommandLineRun : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void runsScriptAndPassesItsStatusOn_data();
    void runsScriptAndPassesItsStatusOn();
    void refusesWithOneLine_data();
    void refusesWithOneLine();
    void ambiguousNameRunsNothing();
    void outputIsStreamedWhileTheScriptRuns();
    void interruptIsPassedOnToTheScript_data();
    void interruptIsPassedOnToTheScript();

private:
    struct Result
    {
        int status = -1;
        QByteArray out;
        QByteArray err;
    };
    QStringList arguments(const QString& nameOrId) const;
    Result run(const QString& nameOrId) const;
    void addScript(const QString& id, const QString& name, const QString& content);

    QTemporaryDir m_folder;
    QList<QStringList> m_scripts;
};

void TestCommandLineRun::addScript(const QString& id, const QString& name, const QString& content)
{
    m_scripts.append({id, name, content});
}

void TestCommandLineRun::initTestCase()
{
    QVERIFY(m_folder.isValid());
    const QString marker = m_folder.path() + QStringLiteral("/ran-");
    addScript(QStringLiteral("ID-HELLO"), QStringLiteral("hello"),
              QStringLiteral("#!/bin/sh\nprintf 'hello\\n'\n"));
    addScript(QStringLiteral("ID-THREE"), QStringLiteral("three"),
              QStringLiteral("#!/bin/sh\nprintf 'out\\n'\nexit 3\n"));
    addScript(QStringLiteral("ID-ERR"), QStringLiteral("to stderr"),
              QStringLiteral("#!/bin/sh\necho oops >&2\nexit 1\n"));
    addScript(QStringLiteral("ID-SIG"), QStringLiteral("killed"),
              QStringLiteral("#!/bin/sh\nkill -TERM $$\n"));
    addScript(QStringLiteral("ID-ARGS"), QStringLiteral("args"),
              QStringLiteral("#!/bin/sh\nprintf '%s %s\\n' \"$1\" \"$2\"\n"));
    addScript(QStringLiteral("ID-EMPTY"), QStringLiteral("empty"), QString());
    addScript(QStringLiteral("ID-BLANK"), QStringLiteral("blank"), QStringLiteral(" "));
    addScript(QStringLiteral("ID-TWIN-1"), QStringLiteral("twin"),
              QStringLiteral("#!/bin/sh\ntouch '%1'1\n").arg(marker));
    addScript(QStringLiteral("ID-TWIN-2"), QStringLiteral("twin"),
              QStringLiteral("#!/bin/sh\ntouch '%1'2\n").arg(marker));
    // An id wins over a name that happens to equal it.
    addScript(QStringLiteral("hello-id"), QStringLiteral("id wins"),
              QStringLiteral("#!/bin/sh\necho by id\n"));
    addScript(QStringLiteral("ID-OTHER"), QStringLiteral("hello-id"),
              QStringLiteral("#!/bin/sh\necho by name\n"));
    addScript(
        QStringLiteral("ID-STREAM"), QStringLiteral("stream"),
        QStringLiteral("#!/bin/sh\nprintf 'first\\n'\nwhile [ ! -e '%1' ]; do sleep 0.05; done\n"
                       "printf 'second\\n'\n")
            .arg(m_folder.path() + QStringLiteral("/go")));

    addScript(
        QStringLiteral("ID-SLEEPER"), QStringLiteral("sleeper"),
        QStringLiteral("#!/bin/sh\necho $$ > '%1'\nprintf 'ready\\n'\nsleep 30\nprintf 'woke\\n'\n")
            .arg(m_folder.path() + QStringLiteral("/sleeper.pid")));

    JsonWriter json;
    json.beginArray();
    for (const QStringList& script : m_scripts) {
        json.beginObject();
        json.key(u"id");
        json.string(script[0]);
        json.key(u"name");
        json.string(script[1]);
        json.key(u"content");
        json.string(script[2]);
        json.key(u"keepLog");
        json.boolean(false);
        json.key(u"language");
        json.string(u"bash");
        json.key(u"bookmark");
        json.null();
        json.key(u"category");
        json.string(u"");
        json.endObject();
    }
    json.endArray();
    TestEnvironment::writeFile(
        m_folder.path() + QStringLiteral("/org.brambleworth.Brambleworth/Brambleworth.json"),
        json.data());
}

QStringList TestCommandLineRun::arguments(const QString& nameOrId) const
{
    return {QStringLiteral("-CUSTOM_APPLICATION_SUPPORT_DIRECTORY"),
            m_folder.path(),
            QStringLiteral("-IncludeBuiltInScripts"),
            QStringLiteral("NO"),
            QStringLiteral("--run"),
            nameOrId};
}

TestCommandLineRun::Result TestCommandLineRun::run(const QString& nameOrId) const
{
    QProcess process;
    process.start(QStringLiteral(BRAMBLEWORTH_BINARY), arguments(nameOrId));
    Result result;
    if (!process.waitForFinished(20000))
        return result;
    result.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    return result;
}

void TestCommandLineRun::runsScriptAndPassesItsStatusOn_data()
{
    QTest::addColumn<QString>("nameOrId");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("out");
    QTest::newRow("by name") << QStringLiteral("hello") << 0 << QByteArray("hello\n");
    QTest::newRow("by id") << QStringLiteral("ID-HELLO") << 0 << QByteArray("hello\n");
    QTest::newRow("exit status 3") << QStringLiteral("three") << 3 << QByteArray("out\n");
    // The log holds both pipes, so standard error's text comes out on standard output.
    QTest::newRow("log of stderr, status 1")
        << QStringLiteral("to stderr") << 1 << QByteArray("oops\n");
    QTest::newRow("ended by a signal") << QStringLiteral("killed") << 128 + 15 << QByteArray();
    QTest::newRow("same arguments as from the menu")
        << QStringLiteral("args") << 0 << QByteArray("/bin/sh -c\n");
    QTest::newRow("id before name") << QStringLiteral("hello-id") << 0 << QByteArray("by id\n");
}

void TestCommandLineRun::runsScriptAndPassesItsStatusOn()
{
    QFETCH(QString, nameOrId);
    QFETCH(int, status);
    QFETCH(QByteArray, out);
    const Result result = run(nameOrId);
    QCOMPARE(result.out, out);
    QCOMPARE(result.err, QByteArray());
    QCOMPARE(result.status, status);
}

void TestCommandLineRun::refusesWithOneLine_data()
{
    QTest::addColumn<QString>("nameOrId");
    QTest::addColumn<QString>("reason");
    QTest::newRow("unknown") << QStringLiteral("no such script")
                             << QStringLiteral("no such script");
    QTest::newRow("name is case sensitive") << QStringLiteral("Hello") << QStringLiteral("Hello");
    QTest::newRow("empty script") << QStringLiteral("empty") << QStringLiteral("empty");
    QTest::newRow("launch failure")
        << QStringLiteral("blank") << QString::fromLocal8Bit(std::strerror(ENOEXEC));
}

void TestCommandLineRun::refusesWithOneLine()
{
    QFETCH(QString, nameOrId);
    QFETCH(QString, reason);
    const Result result = run(nameOrId);
    QCOMPARE(result.status, 1);
    QCOMPARE(result.out, QByteArray());
    const QString err = QString::fromUtf8(result.err);
    QCOMPARE(err.count(QLatin1Char('\n')), 1);
    QVERIFY(err.endsWith(QLatin1Char('\n')));
    QVERIFY2(err.contains(reason), qPrintable(err));
}

void TestCommandLineRun::ambiguousNameRunsNothing()
{
    const Result result = run(QStringLiteral("twin"));
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

void TestCommandLineRun::outputIsStreamedWhileTheScriptRuns()
{
    QProcess process;
    process.start(QStringLiteral(BRAMBLEWORTH_BINARY), arguments(QStringLiteral("stream")));
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

void TestCommandLineRun::interruptIsPassedOnToTheScript_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("interrupt key") << SIGINT;
    QTest::newRow("termination request") << SIGTERM;
}

void TestCommandLineRun::interruptIsPassedOnToTheScript()
{
    QFETCH(int, signal);
    QProcess process;
    process.start(QStringLiteral(BRAMBLEWORTH_BINARY), arguments(QStringLiteral("sleeper")));
    QVERIFY(process.waitForStarted());
    QByteArray out;
    QTRY_VERIFY_WITH_TIMEOUT((out += process.readAllStandardOutput()) == "ready\n", 10000);
    const pid_t script = TestEnvironment::readFile(m_folder.path() + QStringLiteral("/sleeper.pid"))
                             .trimmed()
                             .toInt();
    QVERIFY(script > 0);
    // Wait for `sleep` to run: an interrupt that lands while the shell is between fork and exec
    // is lost on the way, and the shell then goes on with the script.
    const QString children = QStringLiteral("/proc/%1/task/%1/children").arg(script);
    QTRY_VERIFY_WITH_TIMEOUT(!TestEnvironment::readFile(children).trimmed().isEmpty(), 10000);
    const QByteArray child = TestEnvironment::readFile(children).trimmed().split(' ').first();
    QTRY_COMPARE_WITH_TIMEOUT(
        TestEnvironment::readFile(QStringLiteral("/proc/%1/comm").arg(QString::fromLatin1(child)))
            .trimmed(),
        QByteArray("sleep"), 10000);

    ::kill(pid_t(process.processId()), signal);
    QVERIFY(process.waitForFinished(10000));
    // The script got an interrupt whatever brambleworth was sent, and brambleworth ended with it.
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 128 + SIGINT);
    QCOMPARE(out + process.readAllStandardOutput(), QByteArray("ready\n"));
    QTRY_VERIFY_WITH_TIMEOUT(::kill(script, 0) != 0, 5000);
}

BRAMBLEWORTH_TEST_MAIN(TestCommandLineRun)
#include "test_commandline_run.moc"
