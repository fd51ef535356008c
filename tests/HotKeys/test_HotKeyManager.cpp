// SPDX-License-Identifier: GPL-3.0-or-later
#include "FakeHotKeyBackend.h"
#include "FakeKeyboardLayoutSource.h"
#include "HotKeys/HotKeyManager.h"
#include "HotKeys/KeyboardLayout.h"
#include "QuillonCommons/LogCapture.h"
#include "common/TestEnvironment.h"

using State = HotKeyManager::State;

class TestHotKeyManager : public QObject
{
    Q_OBJECT

    FakeHotKeyBackend* m_backend = nullptr;
    QList<QPair<QString, State>> m_calls;

    bool registerKey(const QString& identifier, const QString& key, ModifierFlags modifiers = 0)
    {
        return HotKeyManager::registerHotKey(identifier, key, modifiers,
                                             [this](const QString& identifier, State state) {
                                                 m_calls.append({identifier, state});
                                             });
    }

    static constexpr ModifierFlags commandShift = ModifierFlag::command | ModifierFlag::shift;

    std::unique_ptr<KeyboardLayout> m_layout;

private slots:
    void cleanupTestCase() { HotKeyManager::setKeyboardLayout(nullptr); }

    void init()
    {
        m_layout = std::make_unique<KeyboardLayout>(std::make_unique<FakeKeyboardLayoutSource>());
        HotKeyManager::setKeyboardLayout(m_layout.get());
        HotKeyManager::unregisterAll();
        auto backend = std::make_unique<FakeHotKeyBackend>();
        m_backend = backend.get();
        HotKeyManager::setBackend(std::move(backend));
        HotKeyManager::installEventHandler();
        m_calls.clear();
    }

    void modifierConversion_data()
    {
        QTest::addColumn<quint64>("flags");
        QTest::addColumn<quint32>("mask");
        QTest::newRow("none") << quint64(0) << quint32(0);
        QTest::newRow("command") << quint64(ModifierFlag::command) << quint32(0x0100);
        QTest::newRow("shift") << quint64(ModifierFlag::shift) << quint32(0x0200);
        QTest::newRow("option") << quint64(ModifierFlag::option) << quint32(0x0800);
        QTest::newRow("control") << quint64(ModifierFlag::control) << quint32(0x1000);
        QTest::newRow("all four, raw") << quint64(0x1E0000) << quint32(0x1B00);
        QTest::newRow("others dropped")
            << quint64(ModifierFlag::capsLock | ModifierFlag::numericPad | ModifierFlag::help |
                       ModifierFlag::function | 0x108 | ModifierFlag::option)
            << quint32(0x0800);
    }

    void modifierConversion()
    {
        QFETCH(quint64, flags);
        QFETCH(quint32, mask);
        QCOMPARE(HotKeyManager::carbonModifiers(flags), mask);
    }

    void registrationGrabsTheKeyCodeOfTheLayout()
    {
        QVERIFY(registerKey("script-1", "s", commandShift));
        const auto data = HotKeyManager::hotKeyData("script-1");
        QVERIFY(data);
        QCOMPARE(data->identifier, QStringLiteral("script-1"));
        QCOMPARE(data->key, QStringLiteral("s"));
        QCOMPARE(data->modifiers, commandShift);
        QCOMPARE(m_backend->grabs.value(data->hotKeyId), FakeHotKeyBackend::Combination(1, 0x0300));
        QVERIFY(!HotKeyManager::hotKeyData("script-2"));
    }

    void combinationsAlreadyHeldAreRefused_data()
    {
        QTest::addColumn<bool>("heldHere");
        QTest::addColumn<quint64>("modifiers");
        QTest::newRow("held here") << true << quint64(ModifierFlag::control);
        // Flags beyond the four modifiers do not make another combination.
        QTest::newRow("held here, extra flags")
            << true
            << quint64(ModifierFlag::control | ModifierFlag::capsLock | ModifierFlag::function |
                       ModifierFlag::numericPad | 0x10a);
        QTest::newRow("held by another program") << false << quint64(ModifierFlag::control);
    }

    void combinationsAlreadyHeldAreRefused()
    {
        QFETCH(bool, heldHere);
        QFETCH(quint64, modifiers);
        if (heldHere)
            QVERIFY(registerKey("first", "k", ModifierFlag::control));
        else
            m_backend->takenByOthers.insert({40, 0x1000});
        LogCapture capture;
        QVERIFY(!registerKey("second", "k", modifiers));
        QVERIFY(capture.contains(LogLevel::error, "unable to register hot key"));
        QVERIFY(!HotKeyManager::hotKeyData("second"));
        QCOMPARE(HotKeyManager::hotKeys().size(), size_t(heldHere ? 1 : 0));
        QCOMPARE(m_backend->grabs.size(), heldHere ? 1 : 0);
    }

    void idsStartAtOneAndAreNeverReused()
    {
        // Ids keep counting across tests in this process; what matters is that they only grow,
        // failed attempts included.
        QVERIFY(registerKey("a", "a"));
        QVERIFY(!registerKey("b", "a"));
        HotKeyManager::unregister("a");
        QVERIFY(registerKey("c", "a"));
        const auto& ids = m_backend->attempts;
        QCOMPARE(ids.size(), 3);
        QVERIFY(ids[0] >= 1);
        QCOMPARE(ids[1], ids[0] + 1);
        QCOMPARE(ids[2], ids[1] + 1);
        QCOMPARE(HotKeyManager::hotKeyData("c")->hotKeyId, ids[2]);
    }

    void unknownKeyIsRefused_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<bool>("layoutData");
        QTest::newRow("not typed by the layout") << "é" << true;
        QTest::newRow("needs shift") << "!" << true;
        QTest::newRow("a word") << "nothing" << true;
        QTest::newRow("no layout data") << "↩" << false;
    }

    void unknownKeyIsRefused()
    {
        QFETCH(QString, key);
        QFETCH(bool, layoutData);
        auto source = std::make_unique<FakeKeyboardLayoutSource>();
        source->layoutData = layoutData;
        m_layout->setLayoutSource(std::move(source));
        LogCapture capture;
        QVERIFY(!registerKey("script", key));
        QVERIFY(capture.contains(LogLevel::error, "unable to get correct keycode for key " + key));
        QVERIFY(m_backend->attempts.isEmpty());
        QVERIFY(HotKeyManager::hotKeys().empty());
    }

    void withoutALayoutEveryKeyIsUnknown()
    {
        HotKeyManager::setKeyboardLayout(nullptr);
        LogCapture capture;
        QVERIFY(!registerKey("script", "a"));
        QVERIFY(capture.contains(LogLevel::error, "unable to get correct keycode for key a"));
        QVERIFY(m_backend->attempts.isEmpty());
    }

    void unregisterLetsGoTheFirstRecordAndForgetsAll()
    {
        QVERIFY(registerKey("twice", "a"));
        QVERIFY(registerKey("other", "d"));
        QVERIFY(registerKey("twice", "s"));
        HotKeyManager::unregister("unknown");
        QVERIFY(m_backend->unregistered.isEmpty());
        QCOMPARE(HotKeyManager::hotKeys().size(), size_t(3));

        const quint32 first = HotKeyManager::hotKeys()[0].hotKeyId;
        HotKeyManager::unregister("twice");
        QCOMPARE(m_backend->unregistered, QList<quint32>{first});
        QCOMPARE(HotKeyManager::hotKeys().size(), size_t(1));
        QCOMPARE(HotKeyManager::hotKeys().front().identifier, QStringLiteral("other"));
    }

    void eventsReachOnlyTheirHandlerAndAreAlwaysPassedOn()
    {
        QVERIFY(registerKey("script", "a", commandShift));
        QVERIFY(registerKey("other", "s", commandShift));
        const quint32 id = HotKeyManager::hotKeyData("script")->hotKeyId;
        QCOMPARE(m_backend->press(id), HotKeyManager::eventNotHandledErr);
        QCOMPARE(m_backend->release(id), HotKeyManager::eventNotHandledErr);
        QCOMPARE(m_backend->press(id + 1000), HotKeyManager::eventNotHandledErr);
        QCOMPARE(m_backend->deliverNull(), HotKeyManager::eventNotHandledErr);
        const QList<QPair<QString, State>> expected{{"script", State::down}, {"script", State::up}};
        QCOMPARE(m_calls, expected);
    }

    void handlerMayUnregisterItself()
    {
        QVERIFY(
            HotKeyManager::registerHotKey("script", "a", 0, [](const QString& identifier, State) {
                HotKeyManager::unregister(identifier);
            }));
        QCOMPARE(m_backend->press(HotKeyManager::hotKeyData("script")->hotKeyId),
                 HotKeyManager::eventNotHandledErr);
        QVERIFY(HotKeyManager::hotKeys().empty());
    }

    void handlerInstallationFailureIsLogged()
    {
        HotKeyManager::unregisterAll();
        auto backend = std::make_unique<FakeHotKeyBackend>();
        backend->failInstall = true;
        HotKeyManager::setBackend(std::move(backend));
        LogCapture capture;
        HotKeyManager::installEventHandler();
        QVERIFY(capture.contains(LogLevel::error, "unable to install event key handler"));
        QVERIFY(!HotKeyManager::isEventHandlerInstalled());
    }

    void unregisterAllRemovesHandlerAndGrabs()
    {
        QVERIFY(registerKey("one", "a"));
        QVERIFY(registerKey("two", "s"));
        QVERIFY(registerKey("one", "d"));
        HotKeyManager::unregisterAll();
        QVERIFY(!m_backend->handlerInstalled());
        QVERIFY(HotKeyManager::hotKeys().empty());
        QCOMPARE(m_backend->unregistered.size(), 2);
    }
};

BRAMBLEWORTH_TEST_MAIN(TestHotKeyManager)
#include "test_HotKeyManager.moc"
