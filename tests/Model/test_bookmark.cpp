// SPDX-License-Identifier: GPL-3.0-or-later
#include "Model/Bookmark.h"
#include "Model/Script.h"
#include "Model/URLBookmarkValueTransformer.h"
#include "QuillonCommons/AppError.h"
#include "QuillonCommons/LogCapture.h"

#include "common/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTest>

#include <sys/stat.h>

namespace {

std::uint64_t inodeOf(const QString& path)
{
    struct stat info
    {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return 0;
    return info.st_ino;
}

// What `sed -i` and editors that save through a side file do: a new inode takes the name.
void replaceByRename(const QString& path, const QByteArray& data)
{
    const QString side = path + QStringLiteral(".new");
    TestEnvironment::writeFile(side, data);
    QVERIFY(::rename(QFile::encodeName(side).constData(), QFile::encodeName(path).constData()) ==
            0);
}

} // namespace

class TestBookmark : public QObject
{
    Q_OBJECT

    TestEnvironment m_files;
    QString m_folder;

    QString makeFile(const QString& name, const QByteArray& data)
    {
        const QString path = QDir(m_folder).filePath(name);
        TestEnvironment::writeFile(path, data);
        return path;
    }

private slots:
    void init()
    {
        m_folder = m_files.makeFolder(QString::fromLatin1(QTest::currentTestFunction()));
    }

    void roundTripsAndReadsThroughTheFile()
    {
        const QString path = makeFile(QStringLiteral("deploy.sh"), "echo from file\n");
        const QByteArray data = Bookmark::create(path);
        const auto record = Bookmark::decode(data);
        QVERIFY(record);
        QCOMPARE(record->path, path);
        QCOMPARE(record->inode, inodeOf(path));
        QCOMPARE(Bookmark::encode(*record), data);
        QCOMPARE(Bookmark::resolve(data).path, path);
        QVERIFY(!Bookmark::resolve(data).stale);
        QCOMPARE(URLBookmarkValueTransformer::transformedValue(data), path);

        // A relative path is recorded absolute.
        const QString here = QDir::currentPath();
        QDir::setCurrent(m_folder);
        const auto relative = Bookmark::decode(Bookmark::create(QStringLiteral("./deploy.sh")));
        QDir::setCurrent(here);
        QCOMPARE(relative->path, path);

        // The file wins on reads; writes go to it at once; the library keeps the last copy.
        const ScriptPtr script =
            Script::create(QStringLiteral("Deploy"), QStringLiteral("old"), false);
        script->setBookmark(data);
        LogCapture capture;
        QCOMPARE(script->content(), QStringLiteral("echo from file\n"));
        QCOMPARE(script->internalContent(), QStringLiteral("echo from file\n"));
        script->setContent(QStringLiteral("echo edited\n"));
        QCOMPARE(TestEnvironment::readFile(path), QByteArray("echo edited\n"));
        TestEnvironment::writeFile(path, "echo changed outside\n");
        const auto library = Script::encodeLibrary({script});
        QVERIFY(library);
        QVERIFY(library->contains(R"("content":"echo changed outside\n")"));
        QVERIFY(library->contains(script->bookmarkData().toBase64()));
        QCOMPARE(script->internalContent(), QStringLiteral("echo changed outside\n"));
        QVERIFY(capture.messages(LogLevel::error).isEmpty());
    }

    void renamesAndReplacementsAreFollowedAndRefreshed()
    {
        const QString path = makeFile(QStringLiteral("backup.sh"), "one");
        const ScriptPtr owner = Script::create(QStringLiteral("Backup"), QString(), false);
        Script& script = *owner;
        script.setBookmark(Bookmark::create(path));
        QSignalSpy changes(&script, &Script::bookmarkChanged);

        // Renamed in a file manager: found by inode, the data refreshed.
        const QString renamed = QDir(m_folder).filePath(QStringLiteral("renamed.sh"));
        QVERIFY(QFile::rename(path, renamed));
        QCOMPARE(script.resolveBookmarkAndUpdateIfNeeded(), renamed);
        QCOMPARE(changes.size(), 1);
        QCOMPARE(Bookmark::decode(script.bookmarkData())->path, renamed);
        QVERIFY(!Bookmark::resolve(script.bookmarkData()).stale);
        // The next save stores the fresh data.
        QVERIFY(Script::encodeLibrary({owner})->contains(script.bookmarkData().toBase64()));

        // Replaced at its path (sed -i): stale because the inode changed, so that a later
        // rename still finds the new file.
        replaceByRename(renamed, "two");
        QVERIFY(Bookmark::resolve(script.bookmarkData()).stale);
        QCOMPARE(script.content(), QStringLiteral("two"));
        QCOMPARE(Bookmark::decode(script.bookmarkData())->inode, inodeOf(renamed));
        QVERIFY(QFile::rename(renamed, path));
        QCOMPARE(script.content(), QStringLiteral("two"));

        // Our own write-back is a replacement too; it keeps the data current.
        script.setContent(QStringLiteral("three"));
        QCOMPARE(Bookmark::decode(script.bookmarkData())->inode, inodeOf(path));
        QVERIFY(QFile::rename(path, renamed));
        QCOMPARE(script.content(), QStringLiteral("three"));

        // Moved to another folder: not followed.
        const QString elsewhere =
            m_files.makeFolder(QStringLiteral("elsewhere")) + QStringLiteral("/backup.sh");
        QVERIFY(QFile::rename(renamed, elsewhere));
        LogCapture capture;
        QVERIFY(!script.resolveBookmarkAndUpdateIfNeeded());
    }

    void otherDataResolvesToNothing_data()
    {
        QTest::addColumn<QByteArray>("data");
        const QByteArray good = Bookmark::encode({QStringLiteral("/tmp/x"), 1, 2});
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("text") << QByteArray("not a bookmark");
        QTest::newRow("header only") << good.left(21);
        QTest::newRow("other version") << QByteArray(good).replace(4, 1, "\x02");
        QTest::newRow("relative path") << good.left(21) + "tmp/x";
        QTest::newRow("nul in path") << good + QByteArray("\0y", 2);
        QTest::newRow("macOS alias") << QByteArray("book\0\0\0\0mark\0\0\0\0", 16);
    }

    void otherDataResolvesToNothing()
    {
        QFETCH(QByteArray, data);
        QVERIFY(!Bookmark::decode(data));
        QCOMPARE(URLBookmarkValueTransformer::transformedValue(data), QString());
        QVERIFY_THROWS_EXCEPTION(AppError, Bookmark::resolve(data));
        Script script(QStringLiteral("s"), QStringLiteral("stored"), false);
        script.setBookmark(data);
        LogCapture capture;
        QCOMPARE(script.content(), QStringLiteral("stored"));
        QVERIFY(capture.messages(LogLevel::error)
                    .first()
                    .startsWith(QStringLiteral("resolveBookmarkAndUpdateIfNeeded():")));
        QVERIFY(capture.contains(LogLevel::error, QStringLiteral("unable to resolve bookmark")));
        QCOMPARE(script.bookmarkData(), data);
    }

    void transformerShowsOnlyBookmarks()
    {
        const QString path = makeFile(QStringLiteral("f.sh"), "x");
        QCOMPARE(URLBookmarkValueTransformer::name(),
                 QStringLiteral("URLBookmarkValueTransformer"));
        QCOMPARE(URLBookmarkValueTransformer::transformedValue(QVariant()), QString());
        QCOMPARE(URLBookmarkValueTransformer::transformedValue(path), QString());
        QCOMPARE(URLBookmarkValueTransformer::transformedValue(42), QString());
        const QByteArray data = Bookmark::create(path);
        QFile::remove(path);
        QCOMPARE(URLBookmarkValueTransformer::transformedValue(data), QString());
    }

    void missingAndUnusableFilesKeepTheStoredText()
    {
        const QString path = makeFile(QStringLiteral("gone.sh"), "on disk");
        Script script(QStringLiteral("Gone"), QString(), false);
        script.setBookmark(Bookmark::create(path));
        QCOMPARE(script.content(), QStringLiteral("on disk"));
        const QByteArray before = script.bookmarkData();

        // Deleted for good: reads fall back, edits stay in the record, no file appears.
        QVERIFY(QFile::remove(path));
        LogCapture capture;
        QCOMPARE(script.content(), QStringLiteral("on disk"));
        QVERIFY(capture.contains(LogLevel::error, QStringLiteral("unable to resolve bookmark")));
        script.setContent(QStringLiteral("edited"));
        QCOMPARE(script.internalContent(), QStringLiteral("edited"));
        QVERIFY(!QFile::exists(path));
        QCOMPARE(script.bookmarkData(), before);

        // A link to something that cannot be read or replaced: a folder.
        const QString folder = m_files.makeFolder(QStringLiteral("a folder"));
        script.setBookmark(Bookmark::create(folder));
        capture.clear();
        QCOMPARE(script.content(), QStringLiteral("edited"));
        QCOMPARE(capture.messages(LogLevel::error).size(), 1);
        QVERIFY(capture.messages(LogLevel::error)
                    .first()
                    .startsWith(QStringLiteral("getLinkedFileContent():")));
        capture.clear();
        script.setContent(QStringLiteral("again"));
        QCOMPARE(script.internalContent(), QStringLiteral("again"));
        QCOMPARE(capture.messages(LogLevel::error).size(), 1);
        QVERIFY(capture.messages(LogLevel::error)
                    .first()
                    .startsWith(QStringLiteral("updateLinkedFileIfNeeded():")));
        QVERIFY(QFileInfo(folder).isDir());

        QVERIFY_THROWS_EXCEPTION(AppError, Bookmark::create(path));
    }
};

BRAMBLEWORTH_TEST_MAIN(TestBookmark)
#include "test_bookmark.moc"
