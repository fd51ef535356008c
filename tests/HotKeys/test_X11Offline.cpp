// SPDX-License-Identifier: GPL-3.0-or-later
// The X11 layer where no X server is reachable (a Wayland session, a headless service), and
// its fixed key code table.
#include "HotKeys/AppHotKeyManager.h"
#include "HotKeys/HotKeyManager.h"
#include "HotKeys/IndependentKey.h"
#include "HotKeys/KeyboardLayout.h"
#include "QuillonCommons/LogCapture.h"
#include "common/TestEnvironment.h"
#include "platform/x11/X11HotKeys.h"
#include "platform/x11/X11KeyCodes.h"

#include <QGuiApplication>
#include <QSet>

class TestX11Offline : public QObject
{
    Q_OBJECT

private slots:
    void keyCodeTable_data()
    {
        QTest::addColumn<int>("virtualKeyCode");
        QTest::addColumn<int>("xKeyCode");
        QTest::newRow("A is AC01") << 0 << 38;
        QTest::newRow("Z is AB01") << 6 << 52;
        QTest::newRow("Y is AD06") << 16 << 29;
        QTest::newRow("1 is AE01") << 18 << 10;
        QTest::newRow("keypad 1") << 83 << 87;
        QTest::newRow("return") << 36 << 36;
        QTest::newRow("escape") << 53 << 9;
        QTest::newRow("forward delete") << 117 << 119;
        QTest::newRow("F1") << 122 << 67;
        QTest::newRow("F13") << 105 << 191;
        QTest::newRow("F20") << 90 << 198;
        QTest::newRow("command is left Super") << 55 << 133;
        QTest::newRow("option is left Alt") << 58 << 64;
        QTest::newRow("up arrow") << 126 << 111;
        QTest::newRow("help is Insert") << 114 << 118;
    }

    void keyCodeTable()
    {
        QFETCH(int, virtualKeyCode);
        QFETCH(int, xKeyCode);
        QCOMPARE(X11KeyCodes::xKeyCode(quint16(virtualKeyCode)),
                 std::optional<quint8>(quint8(xKeyCode)));
        QCOMPARE(X11KeyCodes::virtualKeyCode(quint8(xKeyCode)),
                 std::optional<quint16>(quint16(virtualKeyCode)));
    }

    void keyCodeTableIsOneToOne()
    {
        QSet<quint8> xKeyCodes;
        int count = 0;
        for (quint16 code = 0; code < 256; ++code) {
            const auto xKeyCode = X11KeyCodes::xKeyCode(code);
            if (!xKeyCode)
                continue;
            QVERIFY(code < 128);
            ++count;
            QVERIFY2(!xKeyCodes.contains(*xKeyCode), qPrintable(QString::number(code)));
            xKeyCodes.insert(*xKeyCode);
            QCOMPARE(X11KeyCodes::virtualKeyCode(*xKeyCode), std::optional<quint16>(code));
        }
        QVERIFY(count >= 100);
        // Every layout-independent key has a place, except fn, which PC keyboards keep to
        // themselves.
        for (IndependentKey key : IndependentKeys::allCases()) {
            if (key != IndependentKey::function)
                QVERIFY2(X11KeyCodes::xKeyCode(IndependentKeys::keyCode(key)),
                         qPrintable(QString::number(int(key))));
        }
    }

    void withoutXNothingRegistersAndNothingCrashes()
    {
        KeyboardLayout layout;
        LogCapture capture;
        QVERIFY(!X11HotKeys::install(layout));
        QVERIFY(capture.messages(LogLevel::error).first().startsWith("no X11 connection"));
        QVERIFY(capture.contains(LogLevel::error, "unable to get layout data"));
        QVERIFY(layout.keyCodesMapping().isEmpty());

        capture.clear();
        AppHotKeyManager manager;
        QVERIFY(capture.contains(LogLevel::error, "unable to install event key handler"));
        manager.add("script", "a", ModifierFlag::command);
        QVERIFY(capture.contains(LogLevel::error, "unable to get correct keycode for key a"));
        QVERIFY(manager.registeredHotKeys().isEmpty());
        QVERIFY(!layout.string(0, 0));
        HotKeyManager::setKeyboardLayout(nullptr);
    }
};

int main(int argc, char** argv)
{
    TestEnvironment environment;
    // A platform without any X connection, whatever the session around the test has.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    TestX11Offline tc;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}

#include "test_X11Offline.moc"
