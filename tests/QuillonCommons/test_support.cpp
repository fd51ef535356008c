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

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
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

    void failingScratchDirectoryIsLoggedAndAbsent()
    {
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
