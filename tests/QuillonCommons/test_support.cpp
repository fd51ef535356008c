// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/TestEnvironment.h"

#include "QuillonCommons/AppError.h"
#include "QuillonCommons/Command.h"
#include "QuillonCommons/DistributedNotificationsObserver.h"
#include "QuillonCommons/FileUtils.h"
#include "QuillonCommons/JsonWriter.h"
#include "QuillonCommons/LogCapture.h"
#include "QuillonCommons/NotificationsObserver.h"
#include "QuillonCommons/Utf8.h"
#include "QuillonCommons/Utf8Stream.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <cerrno>
#include <cstring>
#include <functional>
#include <optional>

#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Runs `body` in a child process that sees a file system of 64 KiB of its own at a fresh
// folder, and answers what `body` returned; nothing when this machine allows no such mount
// (no root and no user namespaces).
std::optional<QByteArray> inSmallFileSystem(const std::function<QByteArray(const QString&)>& body)
{
    QTemporaryDir scratch;
    const QByteArray folder = QFile::encodeName(scratch.path());
    int fds[2];
    if (::pipe(fds) != 0)
        return std::nullopt;
    const uid_t uid = ::geteuid();
    const gid_t gid = ::getegid();
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(fds[0]);
        const auto put = [](const char* path, const QByteArray& text) {
            QFile file(QString::fromLatin1(path));
            return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
        };
        bool ok = ::unshare(CLONE_NEWNS | (uid != 0 ? CLONE_NEWUSER : 0)) == 0;
        if (ok && uid != 0)
            ok = put("/proc/self/setgroups", "deny") &&
                 put("/proc/self/uid_map", "0 " + QByteArray::number(uid) + " 1") &&
                 put("/proc/self/gid_map", "0 " + QByteArray::number(gid) + " 1");
        ok = ok && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
             ::mount("tmpfs", folder.constData(), "tmpfs", 0, "size=64k") == 0;
        const QByteArray answer = ok ? "ran:" + body(scratch.path()) : QByteArray("no mount");
        const ssize_t written = ::write(fds[1], answer.constData(), size_t(answer.size()));
        ::_exit(written == answer.size() ? 0 : 1);
    }
    ::close(fds[1]);
    QByteArray answer;
    char buffer[4096];
    for (ssize_t n; (n = ::read(fds[0], buffer, sizeof buffer)) != 0;) {
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            break;
        answer.append(buffer, n);
    }
    ::close(fds[0]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    if (!answer.startsWith("ran:"))
        return std::nullopt;
    return answer.mid(4);
}
// Sets an environment variable for the life of the object.
class ScopedEnvironment
{
public:
    ScopedEnvironment(const char* name, const QByteArray& value)
        : m_name(name), m_had(qEnvironmentVariableIsSet(name)), m_old(qgetenv(name))
    {
        if (value.isNull())
            qunsetenv(name);
        else
            qputenv(name, value);
    }
    ~ScopedEnvironment()
    {
        if (m_had)
            qputenv(m_name, m_old);
        else
            qunsetenv(m_name);
    }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    const char* m_name;
    bool m_had;
    QByteArray m_old;
};

int modeOf(const QString& path)
{
    struct stat info
    {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return -1;
    return int(info.st_mode & 07777);
}
} // namespace

class TestSupport : public QObject
{
    Q_OBJECT
private slots:
    // Scratch files

    void scratchDirectoriesAndFilesAreFreshAndPrivate()
    {
        const ScopedEnvironment noRuntime("XDG_RUNTIME_DIR", QByteArray());
        const auto first = FileUtils::tempraryDirectory();
        const auto second = FileUtils::tempraryDirectory();
        QVERIFY(first && second);
        QVERIFY(*first != *second);
        QVERIFY(first->startsWith(QDir::tempPath()));
        QCOMPARE(modeOf(*first), 0700);
        QVERIFY(QDir(*first).isEmpty());
        // A file is named in a directory of its own, and not made.
        const auto a = FileUtils::tempraryFile();
        const auto b = FileUtils::tempraryFile();
        QVERIFY(a && b);
        QVERIFY(!QFileInfo::exists(*a));
        QVERIFY(QFileInfo(*a).absolutePath() != QFileInfo(*b).absolutePath());
        QCOMPARE(modeOf(QFileInfo(*a).absolutePath()), 0700);
        QCOMPARE(QFileInfo(*a).fileName().size(), 36);
    }

    void scratchFoldersGoToTheRuntimeFolderFirst_data()
    {
        QTest::addColumn<QString>("runtime");
        QTest::addColumn<QString>("expected");
        QTest::newRow("runtime folder") << "run"
                                        << "run/brambleworth";
        QTest::newRow("no runtime folder") << QString() << "tmp";
        QTest::newRow("runtime folder missing") << "gone"
                                                << "tmp";
    }

    void scratchFoldersGoToTheRuntimeFolderFirst()
    {
        QFETCH(QString, runtime);
        QFETCH(QString, expected);
        QTemporaryDir root;
        QVERIFY(QDir(root.path()).mkpath(QStringLiteral("run")));
        QVERIFY(QDir(root.path()).mkpath(QStringLiteral("tmp")));
        const ScopedEnvironment tmp("TMPDIR", QFile::encodeName(root.filePath("tmp")));
        const ScopedEnvironment run("XDG_RUNTIME_DIR",
                                    runtime.isNull() ? QByteArray()
                                                     : QFile::encodeName(root.filePath(runtime)));
        LogCapture capture;
        const auto file = FileUtils::tempraryFile();
        QVERIFY(file);
        const QFileInfo folder(QFileInfo(*file).absolutePath());
        QCOMPARE(folder.absolutePath(), root.filePath(expected));
        QVERIFY(folder.fileName().startsWith(QStringLiteral("brambleworth-")));
        QCOMPARE(modeOf(folder.absoluteFilePath()), 0700);
        QCOMPARE(modeOf(folder.absolutePath()),
                 expected == "tmp" ? modeOf(root.filePath("tmp")) : 0700);
        QCOMPARE(capture.entries().size(), 0);
    }

    // Needs a noexec mount: made in a mount namespace of its own by running this test again
    // inside `unshare`, skipped where the system allows none.
    void scratchFoldersPassANoexecMountBy()
    {
        const QByteArray mounted = qgetenv("BRAMBLEWORTH_TEST_NOEXEC_MOUNT");
        if (mounted.isEmpty()) {
            QTemporaryDir root;
            const QString mountPoint = root.filePath(QStringLiteral("noexec"));
            QVERIFY(QDir().mkpath(mountPoint));
            QProcess child;
            QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
            environment.insert(QStringLiteral("BRAMBLEWORTH_TEST_NOEXEC_MOUNT"), mountPoint);
            child.setProcessEnvironment(environment);
            child.start(QStringLiteral("unshare"),
                        {QStringLiteral("--user"), QStringLiteral("--map-root-user"),
                         QStringLiteral("--mount"), QStringLiteral("/bin/sh"), QStringLiteral("-c"),
                         QStringLiteral("mount -t tmpfs -o noexec tmpfs \"$0\" || exit 77; "
                                        "exec \"$@\""),
                         mountPoint, QCoreApplication::applicationFilePath(),
                         QStringLiteral("scratchFoldersPassANoexecMountBy")});
            if (!child.waitForFinished(30000))
                QFAIL("the test in its own mount namespace did not end");
            if (child.exitCode() == 77 || child.error() == QProcess::FailedToStart)
                QSKIP("no mount namespace with a noexec mount can be made here");
            QVERIFY2(child.exitCode() == 0, child.readAllStandardOutput().constData());
            return;
        }
        const QString mountPoint = QFile::decodeName(mounted);
        QVERIFY(FileUtils::isOnNoexecMount(mountPoint));
        QTemporaryDir root;
        const ScopedEnvironment tmp("TMPDIR", QFile::encodeName(root.path()));
        const ScopedEnvironment run("XDG_RUNTIME_DIR", mounted);
        LogCapture capture;
        const auto first = FileUtils::tempraryFile();
        const auto second = FileUtils::tempraryFile();
        QVERIFY(first && second);
        QCOMPARE(QFileInfo(QFileInfo(*first).absolutePath()).absolutePath(), root.path());
        // Why, once.
        const QStringList warnings = capture.messages(LogLevel::warning);
        QCOMPARE(warnings.size(), 1);
        QVERIFY2(warnings.first().contains(mountPoint) && warnings.first().contains("noexec"),
                 qPrintable(warnings.first()));
    }

    void failingScratchDirectoryIsLoggedAndAbsent()
    {
        const ScopedEnvironment noRuntime("XDG_RUNTIME_DIR", QByteArray());
        const QByteArray saved = qgetenv("TMPDIR");
        qputenv("TMPDIR", "/nonexistent/brambleworth");
        LogCapture capture;
        const auto file = FileUtils::tempraryFile();
        qputenv("TMPDIR", saved);
        QVERIFY(!file);
        const QStringList errors = capture.messages(LogLevel::error);
        QCOMPARE(errors.size(), 1);
        QVERIFY2(errors.first().startsWith(QStringLiteral("tempraryFile():")),
                 qPrintable(errors.first()));
    }

    void atomicWritesReplaceWholeFilesAndReadsTakeThemWhole()
    {
        const QString folder = *FileUtils::tempraryDirectory();
        const QString path = folder + QStringLiteral("/data.json");
        FileUtils::writeAtomically(path, "first");
        FileUtils::writeAtomically(path, "second");
        QCOMPARE(FileUtils::readWholeFile(path), QByteArray("second"));
        // Loaders log this line as it stands: it names the file, not the whole path.
        try {
            FileUtils::readWholeFile(folder + QStringLiteral("/missing.json"));
            QFAIL("read a missing file");
        } catch (const AppError& error) {
            QCOMPARE(error.description(),
                     QStringLiteral("The file “missing.json” couldn’t be opened."));
            QVERIFY(!error.failureReason().isEmpty());
        }
        QCOMPARE(QDir(folder).entryList(QDir::Files | QDir::Hidden),
                 QStringList{QStringLiteral("data.json")});
        QVERIFY_THROWS_EXCEPTION(
            AppError, FileUtils::writeAtomically(folder + QStringLiteral("/no/such/x"), "x"));
    }

    void onlyRegularFilesOfSaneSizeAreRead_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("reason");
        QTest::newRow("FIFO") << "fifo"
                              << "It is not a regular file.";
        QTest::newRow("link to an endless device") << "zero"
                                                   << "It is not a regular file.";
        QTest::newRow("folder") << "folder"
                                << "It is not a regular file.";
        QTest::newRow("over a gibibyte") << "huge"
                                         << "It is larger than 1073741824 bytes.";
    }
    void onlyRegularFilesOfSaneSizeAreRead()
    {
        QFETCH(QString, kind);
        QFETCH(QString, reason);
        const QString path = *FileUtils::tempraryDirectory() + QStringLiteral("/Brambleworth.json");
        const QByteArray native = QFile::encodeName(path);
        if (kind == QLatin1String("fifo")) {
            QCOMPARE(::mkfifo(native.constData(), 0600), 0);
        } else if (kind == QLatin1String("zero")) {
            QCOMPARE(::symlink("/dev/zero", native.constData()), 0);
        } else if (kind == QLatin1String("folder")) {
            QVERIFY(QDir().mkdir(path));
        } else {
            // Sparse: no gibibyte is written, and none must be read.
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            QVERIFY(file.resize((qint64(1) << 30) + 1));
        }
        try {
            FileUtils::readWholeFile(path);
            QFAIL("read what is not a file to read");
        } catch (const AppError& error) {
            QVERIFY2(error.description().contains(QStringLiteral("“Brambleworth.json”")),
                     qPrintable(error.description()));
            QCOMPARE(error.failureReason(), reason);
        }
    }

    void aFullDiskIsReportedWithTheSystemsReasonAndKeepsTheFile_data()
    {
        QTest::addColumn<int>("size");
        QTest::addColumn<bool>("fillFirst");
        // A large write comes back short; a small one is held in a buffer until the commit.
        QTest::newRow("larger than the room left") << (1 << 20) << false;
        QTest::newRow("small, on a full disk") << 10 << true;
    }
    void aFullDiskIsReportedWithTheSystemsReasonAndKeepsTheFile()
    {
        QFETCH(int, size);
        QFETCH(bool, fillFirst);
        const auto answer = inSmallFileSystem([&](const QString& folder) -> QByteArray {
            const QString path = folder + QStringLiteral("/Brambleworth.json");
            FileUtils::writeAtomically(path, "[old]");
            if (fillFirst) {
                QFile fill(folder + QStringLiteral("/fill"));
                if (!fill.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
                    return "cannot fill";
                const QByteArray block(4096, 'x');
                while (fill.write(block) > 0) {
                }
            }
            QByteArray reason = "saved";
            try {
                FileUtils::writeAtomically(path, QByteArray(size, 'a'));
            } catch (const AppError& error) {
                reason = error.failureReason().toUtf8();
            }
            return reason + '\n' + FileUtils::readWholeFile(path);
        });
        if (!answer)
            QSKIP("no private file system can be mounted here");
        QCOMPARE(*answer, QByteArray(std::strerror(ENOSPC)) + "\n[old]");
    }

    // Commands

    void commandReturnsOutputAndLogsOnlyUtf8Errors()
    {
        LogCapture capture;
        QCOMPARE(Command().run(QStringLiteral("echo out; echo problem >&2; exit 1")),
                 QStringLiteral("out\n"));
        QCOMPARE(Command().run(QStringLiteral("printf '\\377\\376' >&2")), QString());
        // More than a pipe holds, without stalling.
        QCOMPARE(Command().run(QStringLiteral("head -c 1000000 /dev/zero | tr '\\0' x")),
                 QString(1000000, QLatin1Char('x')));
        QCOMPARE(capture.messages(LogLevel::error), QStringList{QStringLiteral("problem\n")});
    }

    void commandEnvironmentIsComplete()
    {
        const Command command({{QStringLiteral("GREETING"), QStringLiteral("hello")}});
        QCOMPARE(command.run(QStringLiteral("echo \"$GREETING:$HOME\"")),
                 QStringLiteral("hello:\n"));
        QVERIFY(Command().env().contains(QStringLiteral("PATH")));
    }

    // Strict UTF-8 and JSON

    void utf8RefusesWhatItCannotRoundTrip()
    {
        QVERIFY(!Utf8::decode(QByteArray("\xC3", 1)));
        QCOMPARE(*Utf8::decode(QByteArray("\xC3\xA9")), QStringLiteral("é"));
        QVERIFY(!Utf8::encode(QString(QChar(0xD800))));
        QVERIFY(!Utf8::encode(QStringLiteral("a") + QChar(0xDC00) + QStringLiteral("b")));
        QCOMPARE(*Utf8::encode(QStringLiteral("😀")), QByteArray("\xF0\x9F\x98\x80"));
    }

    void utf8StreamHoldsBackOnlyACutCharacter_data()
    {
        QTest::addColumn<QByteArrayList>("chunks");
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QList<bool>>("accepted");
        QTest::addColumn<bool>("heldAtEnd");
        using L = QByteArrayList;
        using B = QList<bool>;
        QTest::newRow("two bytes, cut after one")
            << L{"x\xC3", "\xA9y"} << QByteArray("x\xC3\xA9y") << B{true, true} << false;
        QTest::newRow("four bytes over three chunks")
            << L{"\xF0", "\x9F", "\x98\x80!"} << QByteArray("\xF0\x9F\x98\x80!")
            << B{true, true, true} << false;
        QTest::newRow("three bytes, cut after two")
            << L{"\xE2\x82", "\xAC"} << QByteArray("\xE2\x82\xAC") << B{true, true} << false;
        QTest::newRow("invalid elsewhere drops the chunk whole")
            << L{"ok",
                 "a\xFF"
                 "b\xC3",
                 "c"}
            << QByteArray("okc") << B{true, false, true} << false;
        QTest::newRow("stray continuation byte") << L{"a", "\xA9"
                                                           "b"}
                                                 << QByteArray("a") << B{true, false} << false;
        QTest::newRow("completion that is no character drops both parts")
            << L{"a\xC3", "Zb", "c"} << QByteArray("ac") << B{true, false, true} << false;
        // A beginning that no continuation can make valid is invalid already.
        QTest::newRow("surrogate beginning")
            << L{"a\xED\xA0", "\x80"} << QByteArray() << B{false, false} << false;
        QTest::newRow("overlong beginning") << L{"a\xE0\x80"} << QByteArray() << B{false} << false;
        QTest::newRow("beyond U+10FFFF") << L{"a\xF4\x90"} << QByteArray() << B{false} << false;
        QTest::newRow("cut character at the end of the stream")
            << L{"end\xE2\x82"} << QByteArray("end") << B{true} << true;
    }

    void utf8StreamHoldsBackOnlyACutCharacter()
    {
        QFETCH(QByteArrayList, chunks);
        QFETCH(QByteArray, text);
        QFETCH(QList<bool>, accepted);
        QFETCH(bool, heldAtEnd);
        Utf8Stream stream;
        QByteArray out;
        QList<bool> answers;
        for (const QByteArray& chunk : chunks) {
            const QByteArray before = out;
            answers << stream.append(chunk, out);
            if (!answers.last())
                QCOMPARE(out, before);
        }
        QCOMPARE(answers, accepted);
        QCOMPARE(out, text);
        QCOMPARE(stream.finish(), heldAtEnd);
        QVERIFY(stream.heldBack().isEmpty());
    }

    void jsonStringsRoundTrip_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("quotes and backslashes") << "say \"hi\" \\ bye";
        QTest::newRow("control characters")
            << QStringLiteral("tab\there\nnew\rline\b\f") + QChar(0x01) + QChar(0x1F);
        QTest::newRow("slash and del") << QStringLiteral("a/b") + QChar(0x7F);
        QTest::newRow("accents") << "café naïve";
        QTest::newRow("outside the basic plane") << "emoji 😀 and 𝄞";
        QTest::newRow("empty") << "";
    }
    void jsonStringsRoundTrip()
    {
        QFETCH(QString, text);
        JsonWriter writer;
        writer.beginArray();
        writer.string(text);
        writer.endArray();
        QVERIFY(writer.ok());
        const QJsonDocument document = QJsonDocument::fromJson(writer.data());
        QVERIFY(document.isArray());
        QCOMPARE(document.array().at(0).toString(), text);
    }

    void jsonWriterKeepsOrderAndFailsOnLoneSurrogates()
    {
        JsonWriter writer;
        writer.beginObject();
        writer.key(u"z");
        writer.number(std::int64_t(-1));
        writer.key(u"a");
        writer.beginArray();
        writer.boolean(true);
        writer.null();
        writer.number(std::uint64_t(1179648));
        writer.endArray();
        writer.endObject();
        QCOMPARE(writer.data(), QByteArray(R"({"z":-1,"a":[true,null,1179648]})"));
        QVERIFY(writer.ok());

        JsonWriter broken;
        broken.string(QString(QChar(0xD83D)));
        QVERIFY(!broken.ok());
    }

    // Notifications

    void notificationsReachMatchingObservers()
    {
        NotificationCenter center;
        QStringList seen;
        center.addObserver(
            QStringLiteral("SelectionChanged"), {}, nullptr,
            [&](const Notification& n) { seen << QStringLiteral("named:") + n.object.toString(); });
        center.addObserver({}, QStringLiteral("x"), nullptr, [&](const Notification& n) {
            seen << QStringLiteral("object:") + n.name;
        });
        const auto token = center.addObserver({}, {}, nullptr, [&](const Notification& n) {
            seen << QStringLiteral("all:") + n.name;
        });
        center.post(QStringLiteral("SelectionChanged"), QStringLiteral("x"));
        center.post(QStringLiteral("Other"), QStringLiteral("y"));
        center.removeObserver(token);
        center.post(QStringLiteral("Other"), QStringLiteral("x"));
        QCOMPARE(seen, (QStringList{"named:x", "object:SelectionChanged", "all:SelectionChanged",
                                    "all:Other", "object:Other"}));
    }

    void observersWithContextAreCalledThroughItsEventLoop()
    {
        NotificationCenter center;
        QObject context;
        int calls = 0;
        center.addObserver(QStringLiteral("n"), {}, &context,
                           [&](const Notification&) { ++calls; });
        center.post(QStringLiteral("n"));
        QCOMPARE(calls, 0);
        QTRY_COMPARE(calls, 1);
    }

    void observersUnregisterWhenTheyGoAway()
    {
        const int before = NotificationCenter::defaultCenter()->observerCount();
        const int distributedBefore = NotificationCenter::distributedCenter()->observerCount();
        int calls = 0;
        {
            NotificationsObserver observer;
            DistributedNotificationsObserver distributed;
            observer.observe(QStringLiteral("n"), {}, nullptr,
                             [&](const Notification&) { ++calls; });
            distributed.observe(QStringLiteral("n"), {}, nullptr,
                                [&](const Notification&) { calls += 10; });
            QCOMPARE(observer.observers().size(), 1);
            QCOMPARE(NotificationCenter::defaultCenter()->observerCount(), before + 1);
            QCOMPARE(NotificationCenter::distributedCenter()->observerCount(),
                     distributedBefore + 1);
            NotificationCenter::defaultCenter()->post(QStringLiteral("n"));
            NotificationCenter::distributedCenter()->post(QStringLiteral("n"));
        }
        NotificationCenter::defaultCenter()->post(QStringLiteral("n"));
        QCOMPARE(calls, 11);
        QCOMPARE(NotificationCenter::defaultCenter()->observerCount(), before);
        QCOMPARE(NotificationCenter::distributedCenter()->observerCount(), distributedBefore);
    }
};

BRAMBLEWORTH_TEST_MAIN(TestSupport)
#include "test_support.moc"
