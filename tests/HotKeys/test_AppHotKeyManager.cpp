// SPDX-License-Identifier: GPL-3.0-or-later
#include "FakeHotKeyBackend.h"
#include "FakeKeyboardLayoutSource.h"
#include "HotKeys/AppHotKeyManager.h"
#include "HotKeys/HotKeyInfos.h"
#include "HotKeys/HotKeyManager.h"
#include "HotKeys/KeyboardLayout.h"
#include "Model/AppConfig.h"
#include "Model/Preferences.h"
#include "QuillonCommons/LogCapture.h"
#include "common/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QStringEncoder>

class TestAppHotKeyManager : public QObject
{
    Q_OBJECT

    TestEnvironment m_environment;
    KeyboardLayout m_layout{std::make_unique<FakeKeyboardLayoutSource>()};
    FakeHotKeyBackend* m_backend = nullptr;
    QString m_file;
    int m_folderCount = 0;

    static constexpr ModifierFlags commandShift = ModifierFlag::command | ModifierFlag::shift;

    QByteArray fileContent() const { return TestEnvironment::readFile(m_file); }
    void writeFile(const QByteArray& data) const { TestEnvironment::writeFile(m_file, data); }
    std::unique_ptr<AppHotKeyManager> makeManager() { return std::make_unique<AppHotKeyManager>(); }

    static RegisteredHotKey hotKey(const QString& id, const QString& key, quint64 modifiers)
    {
        return RegisteredHotKey{id, key, modifiers};
    }

private slots:
    void initTestCase() { HotKeyManager::setKeyboardLayout(&m_layout); }

    void cleanupTestCase() { HotKeyManager::setKeyboardLayout(nullptr); }

    void init()
    {
        // A fresh data folder for each test.
        const QString folder =
            m_environment.makeFolder(QStringLiteral("support-%1").arg(++m_folderCount));
        Preferences::shared().setValue(QStringLiteral("CUSTOM_APPLICATION_SUPPORT_DIRECTORY"),
                                       folder);
        AppConfig::setPreferences(&Preferences::shared());
        m_file = *AppConfig::applicationSupportDirectoryURL() + QStringLiteral("/HotKeys.json");
        QVERIFY(m_file.startsWith(folder));

        HotKeyManager::unregisterAll();
        auto backend = std::make_unique<FakeHotKeyBackend>();
        m_backend = backend.get();
        HotKeyManager::setBackend(std::move(backend));
    }

    void fileFormatIsCompactInKeyOrderAndReadsBack()
    {
        // Modifiers are kept as given, device-dependent bits and all 64 bits included.
        const QList<RegisteredHotKey> hotKeys{
            hotKey("B5F1-script", "a", 1179648), hotKey("x\"y", "↩", 0),
            hotKey("all", "F5", 0xFFFFFFFFull), hotKey("max", "k", 18446744073709551615ull),
            hotKey("odd", "k", 9007199254740993ull)};
        const QByteArray encoded(
            "[{\"id\":\"B5F1-script\",\"key\":\"a\",\"modifiers\":1179648},"
            "{\"id\":\"x\\\"y\",\"key\":\"↩\",\"modifiers\":0},"
            "{\"id\":\"all\",\"key\":\"F5\",\"modifiers\":4294967295},"
            "{\"id\":\"max\",\"key\":\"k\",\"modifiers\":18446744073709551615},"
            "{\"id\":\"odd\",\"key\":\"k\",\"modifiers\":9007199254740993}]");
        QCOMPARE(AppHotKeyManager::encode(hotKeys), encoded);
        QCOMPARE(AppHotKeyManager::decode(encoded), hotKeys);
        QCOMPARE(AppHotKeyManager::encode({}), QByteArray("[]"));
    }

    void unreadableFilesGiveAnEmptyListAndAreLeftAlone_data()
    {
        QTest::addColumn<bool>("exists");
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<bool>("refused");
        QTest::newRow("absent") << false << QByteArray() << true;
        QTest::newRow("empty array") << true << QByteArray("[]") << false;
        QTest::newRow("empty file") << true << QByteArray() << true;
        QTest::newRow("not json") << true << QByteArray("[{") << true;
        QTest::newRow("object at top") << true << QByteArray("{}") << true;
        QTest::newRow("missing key") << true << QByteArray(R"([{"id":"a","modifiers":0}])") << true;
        QTest::newRow("negative modifiers")
            << true << QByteArray(R"([{"id":"a","key":"a","modifiers":-1}])") << true;
        QTest::newRow("fractional modifiers")
            << true << QByteArray(R"([{"id":"a","key":"a","modifiers":1.5}])") << true;
        QTest::newRow("modifiers beyond 64 bits")
            << true << QByteArray(R"([{"id":"a","key":"a","modifiers":18446744073709551616}])")
            << true;
        // Such text could never be written back, so every later change would be lost.
        QTest::newRow("lone surrogate in id")
            << true << QByteArray(R"([{"id":"\ud800","key":"a","modifiers":0}])") << true;
        QTest::newRow("lone low surrogate in key")
            << true << QByteArray(R"([{"id":"a","key":"x\udc00","modifiers":0}])") << true;
        QTest::newRow("modifiers as text")
            << true << QByteArray(R"([{"id":"a","key":"a","modifiers":"1"}])") << true;
    }

    void unreadableFilesGiveAnEmptyListAndAreLeftAlone()
    {
        QFETCH(bool, exists);
        QFETCH(QByteArray, data);
        QFETCH(bool, refused);
        if (exists)
            writeFile(data);
        LogCapture capture;
        auto manager = makeManager();
        QVERIFY(manager->registeredHotKeys().isEmpty());
        const QStringList errors = capture.messages(LogLevel::error);
        QCOMPARE(errors.size(), refused ? 1 : 0);
        if (refused)
            QVERIFY2(errors.first().startsWith("load():"), qPrintable(errors.first()));
        manager->registerHotKeys({"a", "b"});
        QVERIFY(m_backend->attempts.isEmpty());
        // Left as it is until the next save.
        QCOMPARE(QFile::exists(m_file), exists);
        QCOMPARE(fileContent(), data);
    }

    void creationInstallsTheHandlerAndDestructionRemovesAll()
    {
        writeFile(R"([{"id":"s1","key":"a","modifiers":1179648}])");
        {
            auto manager = makeManager();
            QVERIFY(m_backend->handlerInstalled());
            QVERIFY(m_backend->grabs.isEmpty()); // loading registers nothing
            manager->registerHotKeys({"s1"});
            QCOMPARE(m_backend->grabs.size(), 1);
        }
        QVERIFY(!m_backend->handlerInstalled());
        QVERIFY(m_backend->grabs.isEmpty());
        QVERIFY(HotKeyManager::hotKeys().empty());
    }

    void startUpRegistersOnlyExistingScriptsAndKeepsTheRest()
    {
        const QByteArray stored = R"([{"id":"gone","key":"s","modifiers":1179648},)"
                                  R"({"id":"s1","key":"a","modifiers":1179648},)"
                                  R"({"id":"s2","key":"é","modifiers":262144}])";
        writeFile(stored);
        auto manager = makeManager();
        LogCapture capture;
        manager->registerHotKeys({"s2", "s1", "new"});
        // s2's key has no code in this layout: logged, but kept.
        QVERIFY(capture.contains(LogLevel::error, "unable to get correct keycode for key é"));
        QCOMPARE(HotKeyManager::hotKeys().size(), size_t(1));
        QCOMPARE(HotKeyManager::hotKeys().front().identifier, QStringLiteral("s1"));
        QCOMPARE(manager->registeredHotKeys().size(), 3);

        // Later saves keep the records of the missing script and of the failed one.
        manager->add("new", "d", ModifierFlag::control);
        QCOMPARE(fileContent(), QByteArray(R"([{"id":"gone","key":"s","modifiers":1179648},)"
                                           R"({"id":"s1","key":"a","modifiers":1179648},)"
                                           R"({"id":"s2","key":"é","modifiers":262144},)"
                                           R"({"id":"new","key":"d","modifiers":262144}])"));
    }

    void addStoresAndSavesWithTheRawFlags()
    {
        auto manager = makeManager();
        const ModifierFlags flags = commandShift | 0x108; // device-dependent bits kept as given
        manager->add("s1", "a", flags);
        QCOMPARE(manager->registeredHotKeys(), QList<RegisteredHotKey>{hotKey("s1", "a", flags)});
        QCOMPARE(fileContent(), QByteArray(R"([{"id":"s1","key":"a","modifiers":1179912}])"));
        QCOMPARE(HotKeyInfos::from(manager->registeredHotKeys().first()),
                 (HotKeyInfos{"s1", "a", flags}));

        auto reloaded = makeManager();
        QCOMPARE(reloaded->registeredHotKeys(), manager->registeredHotKeys());
    }

    void addDoesNothingForAScriptWithAHotKeyOrACombinationInUse()
    {
        auto manager = makeManager();
        manager->add("s1", "a", commandShift);
        const QByteArray before = fileContent();
        manager->add("s1", "s", ModifierFlag::control);
        // Registered elsewhere under that id without a record: also nothing.
        QVERIFY(HotKeyManager::registerHotKey("s2", "d", 0, {}));
        manager->add("s2", "k", 0);
        LogCapture capture;
        manager->add("s3", "a", commandShift);
        QVERIFY(capture.contains(LogLevel::error, "unable to register hot key"));

        QCOMPARE(manager->registeredHotKeys(),
                 QList<RegisteredHotKey>{hotKey("s1", "a", commandShift)});
        QCOMPARE(m_backend->grabs.size(), 2);
        QCOMPARE(fileContent(), before);
    }

    void updateReplacesTheAssignment()
    {
        auto manager = makeManager();
        manager->add("s1", "a", commandShift);
        const auto updated = manager->update("s1", "F5", ModifierFlag::option);
        QVERIFY(updated);
        QCOMPARE(*updated, hotKey("s1", "F5", ModifierFlag::option));
        QCOMPARE(manager->registeredHotKeys(), QList<RegisteredHotKey>{*updated});
        QCOMPARE(m_backend->grabs.values(), (QList<FakeHotKeyBackend::Combination>{{96, 0x0800}}));
        QCOMPARE(fileContent(), QByteArray(R"([{"id":"s1","key":"F5","modifiers":524288}])"));
    }

    void updateToARefusedCombinationDropsTheOldOne()
    {
        auto manager = makeManager();
        manager->add("s0", "d", 0);
        manager->add("s1", "a", commandShift);
        m_backend->takenByOthers.insert({40, 0x1000});
        LogCapture capture;
        QVERIFY(!manager->update("s1", "k", ModifierFlag::control));
        QVERIFY(capture.contains(LogLevel::error, "unable to register hot key"));
        QCOMPARE(manager->registeredHotKeys(), QList<RegisteredHotKey>{hotKey("s0", "d", 0)});
        QVERIFY(!HotKeyManager::hotKeyData("s1"));
        QCOMPARE(fileContent(), QByteArray(R"([{"id":"s0","key":"d","modifiers":0}])"));
    }

    void removeDropsRecordGrabAndFileEntry()
    {
        auto manager = makeManager();
        manager->add("s1", "a", commandShift);
        manager->add("s2", "s", commandShift);
        manager->remove("s1");
        QCOMPARE(manager->registeredHotKeys(),
                 QList<RegisteredHotKey>{hotKey("s2", "s", commandShift)});
        QCOMPARE(m_backend->grabs.size(), 1);
        QCOMPARE(fileContent(), QByteArray(R"([{"id":"s2","key":"s","modifiers":1179648}])"));
        manager->remove("unknown");
        QCOMPARE(manager->registeredHotKeys().size(), 1);
    }

    void pressCallsOnHotKeyPressedOnDownOnly()
    {
        auto manager = makeManager();
        QStringList pressed;
        manager->add("s1", "a", commandShift);
        const quint32 id = HotKeyManager::hotKeyData("s1")->hotKeyId;
        m_backend->press(id); // no callback set yet: nothing happens
        manager->onHotKeyPressed = [&](const QString& scriptId) {
            pressed.append(scriptId);
        };
        m_backend->press(id);
        m_backend->release(id);
        QCOMPARE(pressed, QStringList{"s1"});
    }

    void theFileIsReadInAnyUnicodeEncodingKeptAsideWhenUnreadableAndFreedOfLeftovers()
    {
        const QDir folder = QFileInfo(m_file).dir();
        TestEnvironment::writeFile(folder.filePath(QStringLiteral("HotKeys.json.QmZxwT")), "[]");
        QStringEncoder utf16(QStringConverter::Utf16LE, QStringEncoder::Flag::WriteBom);
        writeFile(utf16.encode(QStringLiteral(R"([{"id":"s1","key":"é","modifiers":0}])")));
        QCOMPARE(makeManager()->registeredHotKeys(), QList<RegisteredHotKey>{hotKey("s1", "é", 0)});
        QCOMPARE(folder.entryList({QStringLiteral("HotKeys.json*")}, QDir::Files),
                 QStringList{"HotKeys.json"});

        const QByteArray broken = R"([{"id":"s1","key":"a"])";
        writeFile(broken);
        auto manager = makeManager();
        LogCapture capture;
        manager->add("s2", "a", commandShift);
        const QStringList copies =
            folder.entryList({QStringLiteral("HotKeys.json.unreadable-*")}, QDir::Files);
        QCOMPARE(copies.size(), 1);
        QCOMPARE(TestEnvironment::readFile(folder.filePath(copies.first())), broken);
        QVERIFY(capture.contains(
            LogLevel::error, QStringLiteral("the unreadable file %1 was kept as %2 before saving")
                                 .arg(m_file, folder.filePath(copies.first()))));
        QCOMPARE(fileContent(), QByteArray(R"([{"id":"s2","key":"a","modifiers":1179648}])"));
    }

    void saveFailureIsLogged()
    {
        auto manager = makeManager();
        // A folder where the file should be makes the atomic replace fail.
        QDir().mkpath(m_file);
        LogCapture capture;
        manager->add("s1", "a", 0);
        const QStringList errors = capture.messages(LogLevel::error);
        QCOMPARE(errors.size(), 1);
        QVERIFY2(errors.first().startsWith("save():"), qPrintable(errors.first()));
        QCOMPARE(manager->registeredHotKeys().size(), 1); // kept in memory
    }
};

BRAMBLEWORTH_TEST_MAIN(TestAppHotKeyManager)
#include "test_AppHotKeyManager.moc"
