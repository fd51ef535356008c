// SPDX-License-Identifier: GPL-3.0-or-later
// Hot keys against a real X server (Xvfb), driven by xdotool and setxkbmap.
#include "HotKeys/AppHotKeyManager.h"
#include "HotKeys/HotKeyManager.h"
#include "HotKeys/KeyboardLayout.h"
#include "Model/AppConfig.h"
#include "Model/Preferences.h"
#include "QuillonCommons/AppLogger.h"
#include "QuillonCommons/LogCapture.h"
#include "common/TestEnvironment.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11HotKeys.h"
#include "platform/x11/XcbHotKeyBackend.h"

#include <QGuiApplication>
#include <QProcess>
#include <QSet>

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>

namespace {

bool g_haveDisplay = false;

using State = HotKeyManager::State;
constexpr ModifierFlags commandShift = ModifierFlag::command | ModifierFlag::shift;
constexpr ModifierFlags controlOption = ModifierFlag::control | ModifierFlag::option;

int run(const QString& program, const QStringList& arguments)
{
    return QProcess::execute(program, arguments);
}

// Another X client, for combinations held outside this process.
class OtherClient
{
public:
    OtherClient() : m_connection(xcb_connect(nullptr, nullptr))
    {
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    }
    ~OtherClient() { xcb_disconnect(m_connection); }

    bool grab(quint8 keyCode, quint16 modifiers)
    {
        const auto cookie = xcb_grab_key_checked(m_connection, 0, m_root, modifiers, keyCode,
                                                 XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        xcb_generic_error_t* error = xcb_request_check(m_connection, cookie);
        std::free(error);
        return error == nullptr;
    }

    // Whether a press of this key has reached this client.
    bool receivedPress(quint8 keyCode)
    {
        while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection)) {
            if ((event->response_type & 0x7f) == XCB_KEY_PRESS)
                m_pressed.insert(reinterpret_cast<xcb_key_press_event_t*>(event)->detail);
            std::free(event);
        }
        return m_pressed.contains(keyCode);
    }

private:
    xcb_connection_t* m_connection;
    xcb_window_t m_root;
    QSet<quint8> m_pressed;
};

} // namespace

class TestX11HotKeys : public QObject
{
    Q_OBJECT

    QList<QPair<QString, State>> m_calls;

    HotKeyManager::Handler recorder()
    {
        return [this](const QString& identifier, State state) {
            m_calls.append({identifier, state});
        };
    }

    static const QHash<QString, quint16>& mapping()
    {
        return KeyboardLayout::shared().keyCodesMapping();
    }

    static void useLayout(const QString& layout, const QString& key, quint16 expectedCode)
    {
        QCOMPARE(run("setxkbmap", {layout}), 0);
        QTRY_COMPARE(mapping().value(key, 0xffff), expectedCode);
    }

private slots:
    void initTestCase()
    {
        if (!g_haveDisplay)
            QSKIP("no X display can be opened");
        QVERIFY(X11HotKeys::install(KeyboardLayout::shared()));
        // Xvfb's default layout depends on the machine.
        useLayout("us", "z", 6);
    }

    void cleanupTestCase()
    {
        if (!g_haveDisplay)
            return;
        HotKeyManager::unregisterAll();
        run("setxkbmap", {"us"});
        run("xset", {"r", "rate"});
    }

    void init()
    {
        HotKeyManager::unregisterAll();
        HotKeyManager::installEventHandler();
        QVERIFY(HotKeyManager::isEventHandlerInstalled());
        m_calls.clear();
    }

    void usLayoutMapping_data()
    {
        // Keys the layout types; the layout-independent ones never ask the X server.
        QTest::addColumn<QString>("key");
        QTest::addColumn<int>("keyCode");
        QTest::newRow("a") << "a" << 0;
        QTest::newRow("z") << "z" << 6;
        QTest::newRow("1: main row beats keypad") << "1" << 18;
        QTest::newRow("slash") << "/" << 44;
        QTest::newRow("keypad plus") << "+" << 69;
    }

    void usLayoutMapping()
    {
        QFETCH(QString, key);
        QFETCH(int, keyCode);
        QVERIFY2(mapping().contains(key), qPrintable(key));
        QCOMPARE(mapping().value(key), quint16(keyCode));
    }

    void keyStringsWithModifiers()
    {
        const KeyboardLayout& layout = KeyboardLayout::shared();
        QCOMPARE(layout.string(18, ModifierFlag::shift), QStringLiteral("!"));
        QCOMPARE(layout.string(0, ModifierFlag::shift), QStringLiteral("A"));
        QCOMPARE(layout.string(83, 0), QStringLiteral("1")); // keypad, as on a Mac keypad
        QVERIFY(!layout.string(57, 0));
        QVERIFY(!mapping().contains("!"));
    }

    void pressAndReleaseReachTheHandler_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<quint64>("modifiers");
        QTest::addColumn<QList<QStringList>>("xdotool");
        QTest::newRow("press and release")
            << "k" << quint64(commandShift) << QList<QStringList>{{"key", "super+shift+k"}};
        // The modifiers go first, so the key's release comes with no modifier state.
        QTest::newRow("release after the modifiers")
            << "k" << quint64(controlOption)
            << QList<QStringList>{{"keydown", "ctrl+alt+k"}, {"keyup", "ctrl+alt"}, {"keyup", "k"}};
        // A lock that is on must not disable hot keys; each is turned off again afterwards.
        for (const QString lock : {"Num_Lock", "Caps_Lock"}) {
            QTest::newRow(qPrintable(lock))
                << "F5" << quint64(commandShift)
                << QList<QStringList>{{"key", lock}, {"key", "super+shift+F5"}, {"key", lock}};
        }
    }

    void pressAndReleaseReachTheHandler()
    {
        QFETCH(QString, key);
        QFETCH(quint64, modifiers);
        QFETCH(QList<QStringList>, xdotool);
        QVERIFY(HotKeyManager::registerHotKey("script", key, modifiers, recorder()));
        for (const QStringList& arguments : xdotool)
            QCOMPARE(run("xdotool", arguments), 0);
        const QList<QPair<QString, State>> expected{{"script", State::down}, {"script", State::up}};
        QTRY_COMPARE(m_calls, expected);
    }

    // X repeats a held key; a handler must still see one press and one release.
    void holdingAKeyGivesOneDownAndOneUp()
    {
        // Repeats start after 50 ms and come 50 times a second: many within the hold below.
        QCOMPARE(run("xset", {"r", "rate", "50", "50"}), 0);
        QVERIFY(HotKeyManager::registerHotKey("held", "k", controlOption, recorder()));
        QCOMPARE(run("xdotool", {"keydown", "ctrl+alt+k"}), 0);
        QTest::qWait(500);
        QCOMPARE(run("xdotool", {"keyup", "k"}), 0);
        QCOMPARE(run("xdotool", {"keyup", "ctrl+alt"}), 0);
        run("xset", {"r", "rate"});
        const QList<QPair<QString, State>> expected{{"held", State::down}, {"held", State::up}};
        QTRY_COMPARE(m_calls, expected);
        // Nothing still on its way.
        QTest::qWait(100);
        QCOMPARE(m_calls, expected);
    }

    // What a server that keeps sending a release before each repeat leaves to the filter: a
    // second press of a key already down, and a release with other modifiers than the press.
    void repeatedPressesOfAKeyAlreadyDownAreIgnored()
    {
        QVERIFY(HotKeyManager::registerHotKey("held", "k", controlOption, recorder()));
        auto* backend = dynamic_cast<XcbHotKeyBackend*>(HotKeyManager::backend());
        QVERIFY(backend);
        const xcb_window_t root =
            xcb_setup_roots_iterator(xcb_get_setup(X11Connection::connection())).data->root;
        const auto send = [&](quint8 type, quint16 state) {
            xcb_key_press_event_t event{};
            event.response_type = type;
            event.detail = 45; // the K position
            event.root = root;
            event.event = root;
            event.state = state;
            QVERIFY(!backend->nativeEventFilter("xcb_generic_event_t", &event, nullptr));
        };
        const quint16 pressed = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1;
        send(XCB_KEY_PRESS, pressed);
        send(XCB_KEY_PRESS, pressed);
        send(XCB_KEY_PRESS, pressed);
        send(XCB_KEY_RELEASE, 0);
        // A release of a key that was never seen going down belongs to nobody.
        send(XCB_KEY_RELEASE, pressed);
        const QList<QPair<QString, State>> expected{{"held", State::down}, {"held", State::up}};
        QCOMPARE(m_calls, expected);
    }

    void unregisteredAndRefusedRegistrationsNeverFire()
    {
        QVERIFY(HotKeyManager::registerHotKey("gone", "s", commandShift, recorder()));
        QVERIFY(HotKeyManager::registerHotKey("first", "a", controlOption, recorder()));
        LogCapture capture;
        QVERIFY(!HotKeyManager::registerHotKey("second", "a", controlOption, recorder()));
        QVERIFY(capture.contains(LogLevel::error, "unable to register hot key"));
        HotKeyManager::unregister("gone");
        QCOMPARE(run("xdotool", {"key", "super+shift+s", "ctrl+alt+a"}), 0);
        // The second press arrives after the first one would have, so a stray call shows.
        const QList<QPair<QString, State>> expected{{"first", State::down}, {"first", State::up}};
        QTRY_COMPARE(m_calls, expected);
    }

    void combinationHeldByAnotherClientIsRefused()
    {
        constexpr quint8 j = 44;
        const quint16 mask = XcbHotKeyBackend::xModifiers(0x1800);
        OtherClient holder;
        QVERIFY(holder.grab(j, mask));

        LogCapture capture;
        QVERIFY(!HotKeyManager::registerHotKey("script", "j", controlOption, recorder()));
        QVERIFY(capture.contains(LogLevel::error, "unable to register hot key"));
        QVERIFY(!HotKeyManager::hotKeyData("script"));

        QCOMPARE(run("xdotool", {"key", "ctrl+alt+j"}), 0);
        QTRY_VERIFY(holder.receivedPress(j));
        QVERIFY(m_calls.isEmpty());

        // The lock variants grabbed before the refusal were let go again.
        OtherClient third;
        QVERIFY(third.grab(j, mask | XCB_MOD_MASK_LOCK));
    }

    void layoutChangeRebuildsTheMapping()
    {
        AppLogger::setLevel(LogLevel::debug);
        LogCapture capture;
        useLayout("de", "y", 6);
        QCOMPARE(mapping().value("z"), quint16(16));
        QVERIFY(capture.contains(LogLevel::debug, "Keyboard layout changed"));
        QVERIFY(mapping().contains("ü"));
        QVERIFY(!mapping().contains("["));
        useLayout("us", "z", 6);
        QCOMPARE(mapping().value("y"), quint16(16));
    }

    void scriptAssignmentFiresThroughTheApplicationManager()
    {
        TestEnvironment environment;
        Preferences::shared().setValue("CUSTOM_APPLICATION_SUPPORT_DIRECTORY",
                                       environment.makeFolder("support"));
        AppConfig::setPreferences(&Preferences::shared());
        QStringList pressed;
        {
            AppHotKeyManager manager;
            manager.onHotKeyPressed = [&](const QString& id) {
                pressed.append(id);
            };
            manager.add("script-id", "↩", controlOption);
            QCOMPARE(manager.registeredHotKeys().size(), 1);
            QCOMPARE(run("xdotool", {"key", "ctrl+alt+Return"}), 0);
            QTRY_COMPARE(pressed, QStringList{"script-id"});
        }
        // Gone with the manager: the key is free for another client.
        OtherClient other;
        QVERIFY(other.grab(36, XcbHotKeyBackend::xModifiers(0x1800)));
    }
};

int main(int argc, char** argv)
{
    TestEnvironment environment;
    // Qt aborts when its platform cannot open the display, so look first.
    xcb_connection_t* probe = xcb_connect(nullptr, nullptr);
    g_haveDisplay = !xcb_connection_has_error(probe);
    xcb_disconnect(probe);
    std::unique_ptr<QCoreApplication> app;
    if (g_haveDisplay)
        app = std::make_unique<QGuiApplication>(argc, argv);
    else
        app = std::make_unique<QCoreApplication>(argc, argv);
    TestX11HotKeys tc;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}

#include "test_X11HotKeys.moc"
