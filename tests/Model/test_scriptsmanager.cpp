// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/TestEnvironment.h"

#include "Model/AppConfig.h"
#include "Model/AppFiles.h"
#include "Model/Preferences.h"
#include "Model/ScriptsManager.h"
#include "QuillonCommons/LogCapture.h"

#include <QDir>
#include <QRegularExpression>
#include <QSignalSpy>

#include <plist/plist.h>

#include <sys/stat.h>
#include <unistd.h>

namespace {

QStringList names(const ScriptList& scripts)
{
    QStringList result;
    for (const ScriptPtr& s : scripts)
        result << s->name();
    return result;
}

QByteArray xmlIDs(const QList<QPair<QString, QString>>& entries)
{
    QByteArray xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>";
    for (const auto& [name, id] : entries) {
        xml += "<key>" + name.toUtf8() + "</key><dict>";
        if (!id.isEmpty())
            xml += "<key>ID</key><string>" + id.toUtf8() + "</string>";
        xml += "</dict>";
    }
    return xml + "</dict></plist>";
}

} // namespace

class TestScriptsManager : public QObject
{
    Q_OBJECT

    QString m_dataFolder;
    QString m_libraryFile;

    void writeLibrary(const QByteArray& json) { TestEnvironment::writeFile(m_libraryFile, json); }

    // A resources folder holding only a "BuiltIn Scripts" folder with the given files.
    QString builtInFolder(const QMap<QString, QByteArray>& files)
    {
        // The process id keeps two runs of this test at once out of each other's folders.
        const QString resources = QDir::tempPath() + QStringLiteral("/brambleworth-res-%1-%2")
                                                         .arg(QCoreApplication::applicationPid())
                                                         .arg(++m_folders);
        QDir(resources).removeRecursively();
        for (auto it = files.cbegin(); it != files.cend(); ++it)
            TestEnvironment::writeFile(resources + QStringLiteral("/BuiltIn Scripts/") + it.key(),
                                       it.value());
        QDir().mkpath(resources + QStringLiteral("/BuiltIn Scripts"));
        AppFiles::setResourcesURLForTesting(resources);
        return resources;
    }
    int m_folders = 0;

private slots:
    void init()
    {
        m_dataFolder =
            QDir::tempPath() +
            QStringLiteral("/brambleworth-lib-%1").arg(QCoreApplication::applicationPid());
        QDir(m_dataFolder).removeRecursively();
        Preferences::shared().setValue(Preferences::customApplicationSupportDirectoryKey(),
                                       m_dataFolder);
        AppConfig::setPreferences(&Preferences::shared());
        m_libraryFile =
            m_dataFolder + QStringLiteral("/org.brambleworth.Brambleworth/Brambleworth.json");
        AppFiles::setResourcesURLForTesting(QCoreApplication::applicationDirPath() +
                                            QStringLiteral("/../share/brambleworth"));
    }
    void cleanup() { QDir(m_dataFolder).removeRecursively(); }

    void firstStartShowsOnlyTheShippedBuiltInsAndSavesOnDemand()
    {
        LogCapture capture;
        const auto folder = AppConfig::applicationSupportDirectoryURL();
        QCOMPARE(*folder, m_dataFolder + QStringLiteral("/org.brambleworth.Brambleworth"));
        QCOMPARE(*ScriptsManager::libraryFileURL(), m_libraryFile);
        struct stat info
        {};
        QCOMPARE(::stat(QFile::encodeName(*folder).constData(), &info), 0);
        QCOMPARE(int(info.st_mode & 0777), 0700);
        QVERIFY(capture.contains(LogLevel::info,
                                 QStringLiteral("Custom application folder : ") + m_dataFolder));

        ScriptsManager manager;
        manager.loadBuiltInScripts();
        manager.loadScripts(false);
        QCOMPARE(manager.scripts().size(), 9);
        QSet<QString> ids;
        for (const ScriptPtr& s : manager.scripts()) {
            QVERIFY(s->builtIn());
            QVERIFY2(s->id().startsWith(QStringLiteral("org.brambleworth.builtin.")),
                     qPrintable(s->id()));
            QVERIFY2(s->internalContent().startsWith(QStringLiteral("#!")), qPrintable(s->name()));
            ids.insert(s->id());
        }
        QCOMPARE(ids.size(), 9);
        const auto languageOf = [&](const char* name) {
            const ScriptPtr s = manager.script(QStringLiteral("org.brambleworth.builtin.") + name);
            return s ? s->language() : QStringLiteral("(missing)");
        };
        QCOMPARE(languageOf("battery-status"), QStringLiteral("python"));
        QCOMPARE(languageOf("system-summary"), QStringLiteral("bash"));
        const QStringList errors = capture.messages(LogLevel::error);
        QCOMPARE(errors.size(), 1);
        QVERIFY2(errors.first().startsWith(QStringLiteral("loadScripts(removing:):")),
                 qPrintable(errors.first()));
        QVERIFY(!QFileInfo::exists(m_libraryFile));
        manager.saveScripts();
        QCOMPARE(TestEnvironment::readFile(m_libraryFile), QByteArray("[]"));
    }

    void loadingAppendsOrReplaces()
    {
        writeLibrary(
            R"([{"id":"1","name":"one","content":"a"},{"id":"2","name":"two","content":"b","category":"Tools"}])");
        ScriptsManager manager;
        QSignalSpy spy(&manager, &ScriptsManager::scriptsChanged);
        manager.loadScripts(false);
        manager.loadScripts(false);
        QCOMPARE(names(manager.scripts()), (QStringList{"one", "two", "one", "two"}));
        QCOMPARE(spy.size(), 2);
        manager.loadScripts(true);
        QCOMPARE(names(manager.scripts()), (QStringList{"one", "two"}));
        QCOMPARE(spy.size(), 4);
        QCOMPARE(spy.last().at(0).value<ScriptList>().size(), 2);
        QCOMPARE(manager.script(QStringLiteral("2"))->category(), QStringLiteral("Tools"));
    }

    void aBrokenLibraryIsLeftAloneUntilTheNextSave()
    {
        const QByteArray broken = R"([{"id":"1","name":"one"}])";
        writeLibrary(broken);
        ScriptsManager manager;
        manager.add(Script::create(QStringLiteral("kept"), QString(), false), -1);
        writeLibrary(broken);
        LogCapture capture;
        manager.loadScripts(true);
        QCOMPARE(names(manager.scripts()), QStringList{"kept"});
        QCOMPARE(TestEnvironment::readFile(m_libraryFile), broken);
        QVERIFY(capture.messages(LogLevel::error)
                    .first()
                    .startsWith(QStringLiteral("loadScripts(removing:):")));
        manager.saveScripts();
        QCOMPARE(Script::decodeLibrary(TestEnvironment::readFile(m_libraryFile)).size(), 1);
    }

    void builtInsReturnToTheFrontAfterReordering()
    {
        writeLibrary(
            R"([{"id":"1","name":"one","content":"a"},{"id":"2","name":"two","content":"b"}])");
        ScriptsManager manager;
        manager.loadBuiltInScripts();
        manager.loadScripts(false);
        const int builtIns = manager.scripts().size() - 2;
        ScriptList reordered = manager.scripts();
        reordered.swapItemsAt(builtIns, builtIns + 1);
        reordered.move(builtIns, 0);
        manager.setScripts(reordered);

        manager.removeBuiltInScripts();
        QCOMPARE(names(manager.scripts()), (QStringList{"two", "one"}));
        manager.loadBuiltInScripts();
        QCOMPARE(manager.scripts().size(), builtIns + 2);
        for (int i = 0; i < builtIns; ++i)
            QVERIFY(manager.scripts().at(i)->builtIn());
        QCOMPARE(names(manager.scripts().mid(builtIns)), (QStringList{"two", "one"}));
    }

    void builtInFolderRules_data()
    {
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QByteArray>("ids");
        QTest::addColumn<QStringList>("expectedNames");
        QTest::addColumn<QStringList>("expectedErrors");
        const QByteArray both = xmlIDs({{"Alpha", "id.alpha"}, {"Beta", "id.beta"}});
        QTest::newRow("sub-folders searched, names sorted")
            << QStringList{"Beta.txt", "sub/Alpha.txt"} << both << QStringList{"Beta", "Alpha"}
            << QStringList{};
        QTest::newRow("upper-case extension ignored")
            << QStringList{"Alpha.txt", "notes.TXT", "readme.md"} << both << QStringList{"Alpha"}
            << QStringList{};
        QTest::newRow("a file without an entry hides them all")
            << QStringList{"Alpha.txt", "Extra.txt"} << both << QStringList{}
            << QStringList{"unable to find id for script Extra "};
        QTest::newRow("an entry without an ID hides them all")
            << QStringList{"Alpha.txt", "Beta.txt"} << xmlIDs({{"Alpha", "id.alpha"}, {"Beta", ""}})
            << QStringList{} << QStringList{"unable to find id for script Beta "};
        QTest::newRow("ids of another shape")
            << QStringList{"Alpha.txt"}
            << QByteArray("<plist version=\"1.0\"><array><string>x</string></array></plist>")
            << QStringList{} << QStringList{"unable to load IDs file", "unable to load IDs file"};
        QTest::newRow("entry values must be strings")
            << QStringList{"Alpha.txt"}
            << QByteArray("<plist "
                          "version=\"1.0\"><dict><key>Alpha</key><dict><key>ID</key><integer>3</"
                          "integer></dict></dict></plist>")
            << QStringList{} << QStringList{"unable to load IDs file", "unable to load IDs file"};
    }
    void builtInFolderRules()
    {
        QFETCH(QStringList, files);
        QFETCH(QByteArray, ids);
        QFETCH(QStringList, expectedNames);
        QFETCH(QStringList, expectedErrors);
        QMap<QString, QByteArray> contents{{QStringLiteral("IDs.plist"), ids}};
        for (const QString& f : files)
            contents.insert(f, "echo " + f.toUtf8());
        builtInFolder(contents);
        ScriptsManager manager;
        LogCapture capture;
        manager.loadBuiltInScripts();
        QCOMPARE(names(manager.scripts()), expectedNames);
        QCOMPARE(capture.messages(LogLevel::error), expectedErrors);
    }

    void missingIDsFileIsReportedTwice()
    {
        builtInFolder({{QStringLiteral("Alpha.txt"), "echo"}});
        ScriptsManager manager;
        LogCapture capture;
        manager.loadBuiltInScripts();
        QVERIFY(manager.scripts().isEmpty());
        const QStringList errors = capture.messages(LogLevel::error);
        QCOMPARE(errors.size(), 2);
        QVERIFY(errors.at(0).startsWith(QStringLiteral("loadBuiltInIDs():")));
        QCOMPARE(errors.at(1), QStringLiteral("unable to load IDs file"));
    }

    void binaryIDsFilesAreAccepted()
    {
        plist_t root = plist_new_dict();
        plist_t entry = plist_new_dict();
        plist_dict_set_item(entry, "ID", plist_new_string("id.alpha"));
        plist_dict_set_item(entry, "Language", plist_new_string("python"));
        plist_dict_set_item(root, "Alpha", entry);
        char* bin = nullptr;
        uint32_t length = 0;
        plist_to_bin(root, &bin, &length);
        const QByteArray binary(bin, qsizetype(length));
        std::free(bin);
        plist_free(root);
        QVERIFY(binary.startsWith("bplist00"));

        builtInFolder(
            {{QStringLiteral("IDs.plist"), binary}, {QStringLiteral("Alpha.txt"), "print(1)"}});
        ScriptsManager manager;
        manager.loadBuiltInScripts();
        QCOMPARE(manager.scripts().size(), 1);
        QCOMPARE(manager.scripts().first()->id(), QStringLiteral("id.alpha"));
        QCOMPARE(manager.scripts().first()->language(), QStringLiteral("python"));
        QCOMPARE(manager.scripts().first()->internalContent(), QStringLiteral("print(1)"));
    }

    void noResourcesMeansNoBuiltInsAndNoNoise()
    {
        AppFiles::setResourcesURLForTesting(QString());
        ScriptsManager manager;
        LogCapture capture;
        manager.loadBuiltInScripts();
        QVERIFY(manager.scripts().isEmpty());
        QVERIFY(capture.entries().isEmpty());
        QVERIFY(!manager.loadBuiltInIDs());
    }

    void categoriesAreSortedByCodeUnits()
    {
        ScriptsManager manager;
        ScriptList scripts;
        for (const char* category : {"tools", "", "Tools", "Été", "Zed", "tools"}) {
            auto s = Script::create(QStringLiteral("x"), QString(), false);
            s->setCategory(QString::fromUtf8(category));
            scripts << s;
        }
        manager.setScripts(scripts);
        QCOMPARE(manager.categories(), (QStringList{"Tools", "Zed", "tools", "Été"}));
    }

    void newScriptIsAppendedAndOnlyTheUsersScriptsAreSaved()
    {
        ScriptsManager manager;
        manager.loadBuiltInScripts();
        manager.add(Script::create(QStringLiteral("first"), QString(), false), 3);
        QCOMPARE(manager.scripts().at(3)->name(), QStringLiteral("first"));
        const ScriptPtr created = manager.newScript();
        QCOMPARE(manager.scripts().last(), created);
        QCOMPARE(created->name(), QStringLiteral("New Script"));
        QVERIFY(created->internalContent().isEmpty());
        const ScriptList saved = Script::decodeLibrary(TestEnvironment::readFile(m_libraryFile));
        QCOMPARE(names(saved), (QStringList{"first", "New Script"}));
        QCOMPARE(saved.last()->id(), created->id());
    }

    void addPlacesScriptsByIndex_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("drop on an item") << -1 << QStringList{"a", "b", "c", "new"};
        QTest::newRow("after the last") << 3 << QStringList{"a", "b", "c", "new"};
        QTest::newRow("first") << 0 << QStringList{"new", "a", "b", "c"};
        QTest::newRow("between") << 2 << QStringList{"a", "b", "new", "c"};
    }
    void addPlacesScriptsByIndex()
    {
        QFETCH(int, index);
        QFETCH(QStringList, expected);
        ScriptsManager manager;
        manager.setScripts({Script::create(QStringLiteral("a"), {}, false),
                            Script::create(QStringLiteral("b"), {}, false),
                            Script::create(QStringLiteral("c"), {}, false)});
        manager.add(Script::create(QStringLiteral("new"), {}, false), index);
        QCOMPARE(names(manager.scripts()), expected);
        QCOMPARE(names(Script::decodeLibrary(TestEnvironment::readFile(m_libraryFile))), expected);
    }

    void anUnreadableLibraryIsKeptAsideBeforeTheFirstSave_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("keptAside");
        QTest::newRow("hand edit with a typo")
            << QByteArray(R"([{"id":"1","name":"one",}])") << true;
        QTest::newRow("not text") << QByteArray("\xFF\xFE\x00", 3) << true;
        QTest::newRow("empty file") << QByteArray() << false;
    }
    void anUnreadableLibraryIsKeptAsideBeforeTheFirstSave()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, keptAside);
        writeLibrary(content);
        ScriptsManager manager;
        manager.loadScripts(false);
        const QDir folder = QFileInfo(m_libraryFile).dir();
        const QStringList filter{QStringLiteral("Brambleworth.json.unreadable-*")};
        QVERIFY(folder.entryList(filter, QDir::Files).isEmpty());

        LogCapture capture;
        manager.add(Script::create(QStringLiteral("new"), QString(), false), -1);
        manager.add(Script::create(QStringLiteral("newer"), QString(), false), -1);
        QCOMPARE(names(Script::decodeLibrary(TestEnvironment::readFile(m_libraryFile))),
                 (QStringList{"new", "newer"}));
        const QStringList copies = folder.entryList(filter, QDir::Files);
        if (!keptAside) {
            QVERIFY(copies.isEmpty());
            QVERIFY(capture.messages(LogLevel::error).isEmpty());
            return;
        }
        // One copy, before the first of the two saves, named after the time it was made.
        QCOMPARE(copies.size(), 1);
        QVERIFY2(
            QRegularExpression(QStringLiteral(R"(^Brambleworth\.json\.unreadable-\d{8}-\d{6}$)"))
                .match(copies.first())
                .hasMatch(),
            qPrintable(copies.first()));
        const QString copy = folder.filePath(copies.first());
        QCOMPARE(TestEnvironment::readFile(copy), content);
        struct stat info
        {};
        QCOMPARE(::stat(QFile::encodeName(copy).constData(), &info), 0);
        QCOMPARE(int(info.st_mode & 0777), 0600);
        const QStringList errors = capture.messages(LogLevel::error);
        QCOMPARE(errors.size(), 1);
        QVERIFY2(errors.first().contains(copy), qPrintable(errors.first()));
    }

    void aLibraryThatCannotBeKeptAsideIsNotOverwritten()
    {
        // Too large to read, so too large to copy; sparse, so no disk space is used.
        const qint64 size = (qint64(1) << 30) + 1;
        {
            QDir().mkpath(QFileInfo(m_libraryFile).absolutePath());
            QFile file(m_libraryFile);
            QVERIFY(file.open(QIODevice::WriteOnly));
            QVERIFY(file.resize(size));
        }
        ScriptsManager manager;
        manager.loadScripts(false);
        LogCapture capture;
        manager.add(Script::create(QStringLiteral("new"), QString(), false), -1);
        manager.saveScripts();
        QCOMPARE(QFileInfo(m_libraryFile).size(), size);
        const QStringList errors = capture.messages(LogLevel::error);
        QCOMPARE(errors.size(), 2);
        for (const QString& error : errors)
            QVERIFY2(error.startsWith(QStringLiteral("saveScripts():")), qPrintable(error));
        QCOMPARE(manager.scripts().size(), 1);
    }

    void leftoversOfInterruptedSavesGoAtTheNextStart()
    {
        writeLibrary(R"([{"id":"1","name":"one","content":"a"}])");
        const QDir folder = QFileInfo(m_libraryFile).dir();
        const auto make = [&folder](const char* name) {
            TestEnvironment::writeFile(folder.filePath(QString::fromLatin1(name)), "[]");
        };
        // What QSaveFile leaves when killed between link and rename: six random letters.
        make("Brambleworth.json.ZRpfWO");
        make("Brambleworth.json.nrwIIh");
        // The user's own copies, and files of other shapes.
        make("Brambleworth.json.backup");
        make("Brambleworth.json.BACKUP");
        make("Brambleworth.json.Before");
        make("Brambleworth.json.nrwII1");
        make("Brambleworth.json.nrwIIhh");
        make("Brambleworth.json.unreadable-20260101-120000");
        make("HotKeys.json.ZRpfWO");
        make("Other.json.ZRpfWO");
        QVERIFY(QFile::link(m_libraryFile,
                            folder.filePath(QStringLiteral("Brambleworth.json.LnKabc"))));

        LogCapture capture;
        ScriptsManager manager;
        manager.loadScripts(false);
        QCOMPARE(names(manager.scripts()), QStringList{"one"});
        QCOMPARE(folder.entryList(QDir::Files | QDir::System | QDir::Hidden, QDir::Name),
                 (QStringList{"Brambleworth.json", "Brambleworth.json.BACKUP",
                              "Brambleworth.json.Before", "Brambleworth.json.LnKabc",
                              "Brambleworth.json.backup", "Brambleworth.json.nrwII1",
                              "Brambleworth.json.nrwIIhh",
                              "Brambleworth.json.unreadable-20260101-120000", "HotKeys.json.ZRpfWO",
                              "Other.json.ZRpfWO"}));
        const QStringList removed =
            capture.messages(LogLevel::info)
                .filter(QStringLiteral("removed the leftover of an interrupted save: "));
        QCOMPARE(removed.size(), 2);
        const QString joined = removed.join(QLatin1Char('\n'));
        QVERIFY2(joined.contains(folder.filePath(QStringLiteral("Brambleworth.json.ZRpfWO"))),
                 qPrintable(joined));
    }

    void idsWithANulCharacterAreUnreadable_data()
    {
        QTest::addColumn<QByteArray>("ids");
        const QByteArray nul(1, '\0');
        QTest::newRow("in a string") << "<plist><dict><key>Alpha</key><dict><key>ID</key><string>" +
                                            nul + "</string></dict></dict></plist>";
        QTest::newRow("in a string after text")
            << "<plist><dict><key>Alpha</key><dict><key>ID</key><string>id" + nul +
                   "x</string></dict></dict></plist>";
        QTest::newRow("in a key")
            << "<plist><dict><key>Alpha" + nul +
                   "B</key><dict><key>ID</key><string>id.alpha</string></dict></dict></plist>";
        QTest::newRow("in an entry's key")
            << "<plist><dict><key>Alpha</key><dict><key>I" + nul +
                   "D</key><string>id.alpha</string></dict></dict></plist>";
    }
    void idsWithANulCharacterAreUnreadable()
    {
        QFETCH(QByteArray, ids);
        builtInFolder({{QStringLiteral("IDs.plist"), ids}, {QStringLiteral("Alpha.txt"), "echo"}});
        ScriptsManager manager;
        LogCapture capture;
        manager.loadBuiltInScripts();
        QVERIFY(manager.scripts().isEmpty());
        const QStringList errors = capture.messages(LogLevel::error);
        QCOMPARE(errors.size(), 2);
        QVERIFY2(errors.at(0).startsWith(QStringLiteral("loadBuiltInIDs():")),
                 qPrintable(errors.at(0)));
        QCOMPARE(errors.at(1), QStringLiteral("unable to load IDs file"));
    }

    void failedSavesKeepTheListAndTheFile()
    {
        ScriptsManager manager;
        manager.add(Script::create(QStringLiteral("safe"), QStringLiteral("echo"), false), -1);
        const QByteArray before = TestEnvironment::readFile(m_libraryFile);

        manager.add(
            Script::create(QStringLiteral("bad"), QStringLiteral("x") + QChar(0xDC00), false), -1);
        QCOMPARE(TestEnvironment::readFile(m_libraryFile), before);

        QFile::remove(m_libraryFile);
        QDir().mkpath(m_libraryFile);
        LogCapture capture;
        manager.saveScripts();
        QCOMPARE(manager.scripts().size(), 2);
        QVERIFY(
            capture.messages(LogLevel::error).first().startsWith(QStringLiteral("saveScripts():")));
    }
};

BRAMBLEWORTH_TEST_MAIN(TestScriptsManager)
#include "test_scriptsmanager.moc"
