// SPDX-License-Identifier: GPL-3.0-or-later
#include "FakeKeyboardLayoutSource.h"
#include "HotKeys/IndependentKey.h"
#include "HotKeys/KeyboardLayout.h"
#include "QuillonCommons/AppLogger.h"
#include "QuillonCommons/LogCapture.h"
#include "common/TestEnvironment.h"

#include <QSet>

class TestKeyboardLayout : public QObject
{
    Q_OBJECT

    FakeKeyboardLayoutSource* m_source = nullptr;
    std::unique_ptr<KeyboardLayout> m_layout;

    const QHash<QString, quint16>& mapping() { return m_layout->keyCodesMapping(); }

private slots:
    void init()
    {
        auto source = std::make_unique<FakeKeyboardLayoutSource>();
        m_source = source.get();
        m_layout = std::make_unique<KeyboardLayout>(std::move(source));
    }

    void independentKeysCoverTheTableOnce()
    {
        const auto& cases = IndependentKeys::allCases();
        QCOMPARE(cases.size(), 48);
        QSet<quint16> codes;
        int withString = 0;
        for (IndependentKey key : cases) {
            codes.insert(IndependentKeys::keyCode(key));
            QCOMPARE(IndependentKeys::fromKeyCode(IndependentKeys::keyCode(key)), key);
            if (IndependentKeys::displayString(key))
                ++withString;
        }
        QCOMPARE(codes.size(), 48);
        QCOMPARE(withString, 47);
        QCOMPARE(cases.first(), IndependentKey::return_);
        QCOMPARE(cases.last(), IndependentKey::upArrow);
        QVERIFY(!IndependentKeys::fromKeyCode(0));
        QVERIFY(!IndependentKeys::fromKeyCode(52));
    }

    void stringForKeyCode_data()
    {
        QTest::addColumn<int>("keyCode");
        QTest::addColumn<quint64>("modifiers");
        QTest::addColumn<bool>("hasString");
        QTest::addColumn<QString>("expected");
        QTest::newRow("letter") << 0 << quint64(0) << true << "a";
        QTest::newRow("shifted digit") << 18 << quint64(ModifierFlag::shift) << true << "!";
        QTest::newRow("caps lock never, shift or not")
            << 57 << quint64(ModifierFlag::shift) << false << "";
        QTest::newRow("volume up") << 72 << quint64(0) << true << "";
        QTest::newRow("return ignores modifiers")
            << 36 << quint64(ModifierFlag::command) << true << "↩";
        QTest::newRow("F5") << 96 << quint64(0) << true << "F5";
        QTest::newRow("right command") << 54 << quint64(0) << true << "⌘";
        QTest::newRow("key absent from layout") << 5 << quint64(0) << false << "";
    }

    void stringForKeyCode()
    {
        QFETCH(int, keyCode);
        QFETCH(quint64, modifiers);
        QFETCH(bool, hasString);
        QFETCH(QString, expected);
        const auto string = m_layout->string(static_cast<quint16>(keyCode), modifiers);
        QCOMPARE(string.has_value(), hasString);
        if (hasString)
            QCOMPARE(*string, expected);
    }

    void layoutSeesOnlyTheCarbonMask()
    {
        m_source->lookups.clear();
        m_layout->string(0, ModifierFlag::command | ModifierFlag::shift | ModifierFlag::capsLock |
                                ModifierFlag::function | 0x100);
        QCOMPARE(m_source->lookups.size(), 1);
        QCOMPARE(m_source->lookups.first().second, quint32(0x0300));
    }

    void mappingOfUsLayout_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<int>("keyCode");
        QTest::newRow("a") << "a" << 0;
        QTest::newRow("main row 1 beats keypad") << "1" << 18;
        QTest::newRow("keypad 0 is higher") << "0" << 29;
        QTest::newRow("return") << "↩" << 36;
        QTest::newRow("F5") << "F5" << 96;
        QTest::newRow("empty string: first media key") << "" << 72;
        QTest::newRow("command: right one has the lower code") << "⌘" << 54;
        // What needs a modifier is left out.
        QTest::newRow("shifted digit") << "!" << -1;
        QTest::newRow("shifted letter") << "A" << -1;
    }

    void mappingOfUsLayout()
    {
        QFETCH(QString, key);
        QFETCH(int, keyCode);
        QCOMPARE(mapping().value(key, 0xffff), keyCode < 0 ? quint16(0xffff) : quint16(keyCode));
        // Caps lock has no string at all.
        QVERIFY(!mapping().values().contains(57));
    }

    void aLayoutWaitingForItsSourceLogsNothing()
    {
        LogCapture capture;
        KeyboardLayout waiting;
        QVERIFY(waiting.keyCodesMapping().isEmpty());
        QCOMPARE(capture.messages(LogLevel::error), QStringList());
        waiting.setLayoutSource(std::make_unique<FakeKeyboardLayoutSource>());
        QVERIFY(!waiting.keyCodesMapping().isEmpty());
    }

    void missingLayoutDataEmptiesTheMapping()
    {
        QVERIFY(!mapping().isEmpty());
        LogCapture capture;
        auto source = std::make_unique<FakeKeyboardLayoutSource>();
        source->layoutData = false;
        m_layout->setLayoutSource(std::move(source));
        QVERIFY(mapping().isEmpty());
        QVERIFY(capture.contains(LogLevel::error, QStringLiteral("unable to get layout data")));
        capture.clear();
        QVERIFY(!m_layout->string(0, 0));
        QVERIFY(capture.contains(LogLevel::error, QStringLiteral("unable to get layout data")));
    }

    void layoutChangeRebuildsTheMapping()
    {
        LogCapture capture;
        AppLogger::setLevel(LogLevel::debug);
        QCOMPARE(mapping().value(QStringLiteral("z")), quint16(6));
        QCOMPARE(mapping().value(QStringLiteral("y")), quint16(16));
        QCOMPARE(mapping().value(QStringLiteral("[")), quint16(33));

        m_source->switchTo(FakeKeyboardLayoutSource::germanPlain());

        QVERIFY(capture.contains(LogLevel::debug, QStringLiteral("Keyboard layout changed")));
        QCOMPARE(mapping().value(QStringLiteral("y")), quint16(6));
        QCOMPARE(mapping().value(QStringLiteral("z")), quint16(16));
        // What the new layout cannot type without modifiers is gone; its dead key now holds "".
        QVERIFY(!mapping().contains(QStringLiteral("[")));
        QCOMPARE(mapping().value(QString()), quint16(33));
    }
};

BRAMBLEWORTH_TEST_MAIN(TestKeyboardLayout)
#include "test_KeyboardLayout.moc"
