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

    HotKeyManager::Handler recorder()
    {
        return [this](const QString& identifier, State state) {
            m_calls.append({identifier, state});
        };
    }

    static constexpr ModifierFlags commandShift = ModifierFlag::command | ModifierFlag::shift;

private slots:
    void initTestCase()
    {
        KeyboardLayout::setLayoutSource(std::make_unique<FakeKeyboardLayoutSource>());
    }

    void init()
    {
        HotKeyManager::unregisterAll();
        auto backend = std::make_unique<FakeHotKeyBackend>();
        m_backend = backend.get();
        HotKeyManager::setBackend(std::move(backend));
        HotKeyManager::installEventHandler();
        m_calls.clear();
    }

    void signatureIsKeep() { QCOMPARE(HotKeyManager::signature(), quint32(0x6B656570)); }

    void modifierConversion_data()
    {
        QTest::addColumn<quint64>("flags");
        QTest::addColumn<quint32>("mask");
        QTest::newRow("none") << quint64(0) << quint32(0);
        QTest::newRow("command") << quint64(ModifierFlag::command) << quint32(0x0100);
        QTest::newRow("shift") << quint64(ModifierFlag::shift) << quint32(0x0200);
        QTest::newRow("option") << quint64(ModifierFlag::option) << quint32(0x0800);
        QTest::newRow("control") << quint64(ModifierFlag::control) << quint32(0x1000);
        QTest::newRow("command shift raw") << quint64(1179648) << quint32(0x0300);
        QTest::newRow("all four") << quint64(0x1E0000) << quint32(0x1B00);
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
        QVERIFY(HotKeyManager::registerHotKey("script-1", "s", commandShift, recorder()));
        const auto data = HotKeyManager::hotKeyData("script-1");
        QVERIFY(data);
        QCOMPARE(data->identifier, QStringLiteral("script-1"));
        QCOMPARE(data->key, QStringLiteral("s"));
        QCOMPARE(data->modifiers, commandShift);
        QCOMPARE(m_backend->grabs.value(data->hotKeyId), FakeHotKeyBackend::Combination(1, 0x0300));
        QVERIFY(!HotKeyManager::hotKeyData("script-2"));
    }

    void extraModifierFlagsDoNotChangeTheCombination()
    {
        QVERIFY(HotKeyManager::registerHotKey("one", "a", commandShift, recorder()));
        LogCapture capture;
        const ModifierFlags noisy = commandShift | ModifierFlag::capsLock | ModifierFlag::function |
                                    ModifierFlag::numericPad | 0x10a;
        QVERIFY(!HotKeyManager::registerHotKey("two", "a", noisy, recorder()));
        QVERIFY(capture.contains(LogLevel::error, "unable to register hot key"));
    }

    void sameCombinationTwiceKeepsTheFirst()
    {
        QVERIFY(HotKeyManager::registerHotKey("first", "k", ModifierFlag::control, recorder()));
        LogCapture capture;
        QVERIFY(!HotKeyManager::registerHotKey("second", "k", ModifierFlag::control, recorder()));
        QVERIFY(capture.contains(LogLevel::error, "unable to register hot key"));
        QCOMPARE(HotKeyManager::hotKeys().size(), size_t(1));
        QCOMPARE(HotKeyManager::hotKeys().front().identifier, QStringLiteral("first"));
        QCOMPARE(m_backend->grabs.size(), 1);
    }

    void combinationTakenElsewhereIsRefused()
    {
        m_backend->takenByOthers.insert({40, 0x1000});
        LogCapture capture;
        QVERIFY(!HotKeyManager::registerHotKey("script", "k", ModifierFlag::control, recorder()));
        QVERIFY(capture.contains(LogLevel::error, "unable to register hot key"));
        QVERIFY(HotKeyManager::hotKeys().empty());
    }

    void idsStartAtOneAndAreNeverReused()
    {
        // Ids keep counting across tests in this process; what matters is that they only grow,
        // failed attempts included.
        QVERIFY(HotKeyManager::registerHotKey("a", "a", 0, recorder()));
        QVERIFY(!HotKeyManager::registerHotKey("b", "a", 0, recorder()));
        HotKeyManager::unregister("a");
        QVERIFY(HotKeyManager::registerHotKey("c", "a", 0, recorder()));
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
        QTest::newRow("not typed by the layout") << "é";
        QTest::newRow("needs shift") << "!";
        QTest::newRow("a word") << "nothing";
    }

    void unknownKeyIsRefused()
    {
        QFETCH(QString, key);
        LogCapture capture;
        QVERIFY(!HotKeyManager::registerHotKey("script", key, 0, recorder()));
        QVERIFY(capture.contains(LogLevel::error, "unable to get correct keycode for key " + key));
        QVERIFY(m_backend->attempts.isEmpty());
        QVERIFY(HotKeyManager::hotKeys().empty());
    }

    void unregisterOfUnknownIdentifierDoesNothing()
    {
        QVERIFY(HotKeyManager::registerHotKey("kept", "a", 0, recorder()));
        HotKeyManager::unregister("unknown");
        QVERIFY(m_backend->unregistered.isEmpty());
        QCOMPARE(HotKeyManager::hotKeys().size(), size_t(1));
    }

    void twoRecordsUnderOneIdentifier()
    {
        QVERIFY(HotKeyManager::registerHotKey("twice", "a", 0, recorder()));
        QVERIFY(HotKeyManager::registerHotKey("other", "d", 0, recorder()));
        QVERIFY(HotKeyManager::registerHotKey("twice", "s", 0, recorder()));
        const quint32 first = HotKeyManager::hotKeys()[0].hotKeyId;
        HotKeyManager::unregister("twice");
        QCOMPARE(m_backend->unregistered, QList<quint32>{first});
        QCOMPARE(HotKeyManager::hotKeys().size(), size_t(1));
        QCOMPARE(HotKeyManager::hotKeys().front().identifier, QStringLiteral("other"));
    }

    void pressAndReleaseReachTheHandler()
    {
        QVERIFY(HotKeyManager::registerHotKey("script", "a", commandShift, recorder()));
        QVERIFY(HotKeyManager::registerHotKey("other", "s", commandShift, recorder()));
        const quint32 id = HotKeyManager::hotKeyData("script")->hotKeyId;
        QCOMPARE(m_backend->press(id), HotKeyManager::eventNotHandledErr);
        QCOMPARE(m_backend->release(id), HotKeyManager::eventNotHandledErr);
        const QList<QPair<QString, State>> expected{{"script", State::down}, {"script", State::up}};
        QCOMPARE(m_calls, expected);
    }

    void eventsOfNobodyArePassedOn()
    {
        QVERIFY(HotKeyManager::registerHotKey("script", "a", 0, recorder()));
        QCOMPARE(m_backend->press(HotKeyManager::hotKeyData("script")->hotKeyId + 1000),
                 HotKeyManager::eventNotHandledErr);
        QCOMPARE(m_backend->deliverNull(), HotKeyManager::eventNotHandledErr);
        QVERIFY(m_calls.isEmpty());
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
        QVERIFY(HotKeyManager::registerHotKey("one", "a", 0, recorder()));
        QVERIFY(HotKeyManager::registerHotKey("two", "s", 0, recorder()));
        QVERIFY(HotKeyManager::registerHotKey("one", "d", 0, recorder()));
        HotKeyManager::unregisterAll();
        QVERIFY(!m_backend->handlerInstalled());
        QVERIFY(HotKeyManager::hotKeys().empty());
        QCOMPARE(m_backend->unregistered.size(), 2);
    }

    void withoutLayoutNothingRegisters()
    {
        auto source = std::make_unique<FakeKeyboardLayoutSource>();
        source->layoutData = false;
        KeyboardLayout::setLayoutSource(std::move(source));
        LogCapture capture;
        QVERIFY(!HotKeyManager::registerHotKey("script", "↩", 0, recorder()));
        QVERIFY(capture.contains(LogLevel::error, "unable to get correct keycode for key ↩"));
        KeyboardLayout::setLayoutSource(std::make_unique<FakeKeyboardLayoutSource>());
    }
};

BRAMBLEWORTH_TEST_MAIN(TestHotKeyManager)
#include "test_HotKeyManager.moc"
