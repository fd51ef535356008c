// SPDX-License-Identifier: GPL-3.0-or-later
#include "FakeHotKeyBackend.h"
#include "FakeKeyboardLayoutSource.h"
#include "HotKeys/AppHotKeyManager.h"
#include "HotKeys/HotKeyManager.h"
#include "HotKeys/KeyboardLayout.h"
#include "HotKeys/TQHotKeyField.h"
#include "HotKeys/TQHotKeyFieldDelegate.h"
#include "Model/AppConfig.h"
#include "Model/Preferences.h"
#include "common/GuiTestSupport.h"
#include "platform/x11/X11HotKeys.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>

namespace {

constexpr ModifierFlags commandShift = ModifierFlag::command | ModifierFlag::shift;
constexpr ModifierFlags controlOption = ModifierFlag::control | ModifierFlag::option;

// What the editor pane does for the field: a window with the field among other controls,
// keeping the script's assignment the way the pane keeps scriptHotKeyInfos.
class Host : public QWidget, public TQHotKeyFieldDelegate
{
public:
    explicit Host(AppHotKeyManager* manager) : m_manager(manager)
    {
        auto* layout = new QHBoxLayout(this);
        other = new QLineEdit(this);
        button = new QPushButton(QStringLiteral("Other"), this);
        auto* label = new QLabel(QStringLiteral("Hot key"), this);
        field = new TQHotKeyField(this);
        label->setBuddy(field);
        layout->addWidget(other);
        layout->addWidget(button);
        layout->addWidget(label);
        layout->addWidget(field);
        field->setDelegate(this);
        field->setHotKeyManager(manager);
    }

    QString editedScriptId() const override { return scriptId; }
    void removeHotKey() override
    {
        ++removals;
        m_manager->remove(scriptId);
        infos.reset();
    }
    void setScriptHotKeyInfos(const std::optional<HotKeyInfos>& newInfos) override
    {
        infos = newInfos;
    }

    QString scriptId = QStringLiteral("script-1");
    std::optional<HotKeyInfos> infos;
    int removals = 0;
    QLineEdit* other = nullptr;
    QPushButton* button = nullptr;
    TQHotKeyField* field = nullptr;

private:
    AppHotKeyManager* m_manager;
};

bool onXcb()
{
    return QGuiApplication::platformName() == QLatin1String("xcb");
}

} // namespace

class TestTQHotKeyField : public QObject
{
    Q_OBJECT

    TestEnvironment m_environment;
    KeyboardLayout m_layout{std::make_unique<FakeKeyboardLayoutSource>()};
    FakeHotKeyBackend* m_backend = nullptr;
    std::unique_ptr<AppHotKeyManager> m_manager;
    std::unique_ptr<Host> m_host;
    int m_folderCount = 0;

    TQHotKeyField* field() const { return m_host->field; }
    QString label() const { return field()->textField()->text(); }

    // Keys go to the window, as the keyboard would send them, not to the field: the field
    // gets them only because it holds the keyboard.
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyPress(m_host->windowHandle(), key, modifiers);
    }
    void click(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(m_host->windowHandle(), key, modifiers);
    }

    // Records K with command and shift for the script, through the field.
    void recordCommandShiftK()
    {
        QTest::mouseClick(field(), Qt::LeftButton);
        QVERIFY(field()->isRecording());
        click(Qt::Key_K, Qt::ShiftModifier | Qt::MetaModifier);
        QVERIFY(!field()->isRecording());
    }

private slots:
    void init()
    {
        const QString folder =
            m_environment.makeFolder(QStringLiteral("support-%1").arg(++m_folderCount));
        Preferences::shared().setValue(QStringLiteral("CUSTOM_APPLICATION_SUPPORT_DIRECTORY"),
                                       folder);
        AppConfig::setPreferences(&Preferences::shared());
        HotKeyManager::unregisterAll();
        auto backend = std::make_unique<FakeHotKeyBackend>();
        m_backend = backend.get();
        HotKeyManager::setBackend(std::move(backend));
        HotKeyManager::setKeyboardLayout(&m_layout);
        m_manager = std::make_unique<AppHotKeyManager>();
        m_host = std::make_unique<Host>(m_manager.get());
        field()->setKeyboardLayout(&m_layout);
        m_host->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_host.get()));
        m_host->other->setFocus();
    }

    void cleanup()
    {
        m_host.reset();
        m_manager.reset();
        HotKeyManager::setKeyboardLayout(nullptr);
    }

    void labelAndTooltip_data()
    {
        QTest::addColumn<quint64>("modifiers");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("label");
        QTest::addColumn<QString>("tooltip");
        QTest::newRow("shift command k") << quint64(commandShift) << "k"
                                         << "⇧⌘ K"
                                         << "Shift+Super+K";
        QTest::newRow("control option command 1")
            << quint64(controlOption | ModifierFlag::command) << "1"
            << "⌃⌥⌘ 1"
            << "Ctrl+Alt+Super+1";
        QTest::newRow("all four, glyphs in fixed order")
            << quint64(ModifierFlag::command | ModifierFlag::option | ModifierFlag::shift |
                       ModifierFlag::control)
            << "z"
            << "⌃⇧⌥⌘ Z"
            << "Ctrl+Shift+Alt+Super+Z";
        QTest::newRow("symbol keys in words") << quint64(ModifierFlag::control) << "↩"
                                              << "⌃ ↩"
                                              << "Ctrl+Return";
        QTest::newRow("function key") << quint64(0) << "F5"
                                      << " F5"
                                      << "F5";
        QTest::newRow("other flags draw nothing")
            << quint64(ModifierFlag::capsLock | ModifierFlag::function) << ""
            << "HotKey"
            << "No hot key: click to record one";
        QTest::newRow("nothing") << quint64(0) << ""
                                 << "HotKey"
                                 << "No hot key: click to record one";
    }

    void labelAndTooltip()
    {
        QFETCH(quint64, modifiers);
        QFETCH(QString, key);
        QFETCH(QString, label);
        QFETCH(QString, tooltip);
        field()->setModifiers(modifiers);
        field()->setKey(key);
        QCOMPARE(this->label(), label);
        QCOMPARE(field()->toolTip(), tooltip);
        QCOMPARE(TQHotKeyField::labelText(modifiers, key, true), key.isEmpty() ? "???" : label);
    }

    void recordingAssignsTheCombination()
    {
        QSignalSpy recording(field(), &TQHotKeyField::recordingChanged);
        QTest::mouseClick(field(), Qt::LeftButton);
        QVERIFY(field()->isRecording());
        QCOMPARE(label(), "???");
        QVERIFY(!field()->resetButton()->isEnabled());
        QCOMPARE(QWidget::keyboardGrabber(), field());
        QVERIFY(GuiTestSupport::saveScreenshot(m_host.get(), "hotkeyfield-recording"));

        // Modifiers alone show and wait.
        press(Qt::Key_Shift);
        QCOMPARE(label(), "⇧");
        press(Qt::Key_Meta, Qt::ShiftModifier);
        QCOMPARE(label(), "⇧⌘");
        QVERIFY(field()->isRecording());
        click(Qt::Key_K, Qt::ShiftModifier | Qt::MetaModifier);

        QVERIFY(!field()->isRecording());
        QCOMPARE(label(), "⇧⌘ K");
        QCOMPARE(field()->toolTip(), "Shift+Super+K");
        QCOMPARE(field()->keyCode(), quint16(40));
        QVERIFY(field()->resetButton()->isEnabled());
        QCOMPARE(QWidget::keyboardGrabber(), nullptr);
        QVERIFY(m_host->other->text().isEmpty());
        QCOMPARE(recording.size(), 2);

        const RegisteredHotKey expected{"script-1", "k", commandShift};
        QCOMPARE(m_manager->registeredHotKeys(), QList<RegisteredHotKey>{expected});
        QCOMPARE(m_host->infos, std::optional<HotKeyInfos>(HotKeyInfos::from(expected)));
        const FakeHotKeyBackend::Combination grabbed(40, CarbonModifier::fromFlags(commandShift));
        QCOMPARE(m_backend->grabs.values(), QList<FakeHotKeyBackend::Combination>{grabbed});
        QVERIFY(GuiTestSupport::saveScreenshot(m_host.get(), "hotkeyfield-assigned"));
    }

    void recordingRemovesTheOldShortcutFirst()
    {
        recordCommandShiftK();
        QCOMPARE(m_backend->grabs.size(), 1);
        QTest::mouseClick(field(), Qt::LeftButton);
        // Gone before anything is pressed, so the old combination can be recorded again.
        QCOMPARE(m_host->removals, 2);
        QVERIFY(m_backend->grabs.isEmpty());
        QVERIFY(m_manager->registeredHotKeys().isEmpty());
        click(Qt::Key_1, Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
        QCOMPARE(label(), "⌃⌥⌘ 1");
        QCOMPARE(m_manager->registeredHotKey("script-1")->key, "1");
    }

    void cancellingRestoresTheLabelButNotTheShortcut_data()
    {
        QTest::addColumn<bool>("byEscape");
        QTest::newRow("escape") << true;
        QTest::newRow("leaving the application") << false;
    }

    void cancellingRestoresTheLabelButNotTheShortcut()
    {
        QFETCH(bool, byEscape);
        recordCommandShiftK();
        QTest::mouseClick(field(), Qt::LeftButton);
        press(Qt::Key_Control);
        QCOMPARE(label(), "⌃");
        if (byEscape)
            click(Qt::Key_Escape);
        else
            emit qApp->applicationStateChanged(Qt::ApplicationInactive);
        QVERIFY(!field()->isRecording());
        QCOMPARE(label(), "⇧⌘ K");
        QCOMPARE(QWidget::keyboardGrabber(), nullptr);
        // The removal at the start stands.
        QVERIFY(m_manager->registeredHotKeys().isEmpty());
        QVERIFY(m_backend->grabs.isEmpty());
        QVERIFY(!m_host->infos);
    }

    void keysThatCannotBeAssignedAreIgnored()
    {
        // Started from the keyboard this time.
        field()->setFocus();
        QTest::keyClick(field(), Qt::Key_Space);
        QVERIFY(field()->isRecording());
        // G is not in the test layout; caps lock never names a key.
        click(Qt::Key_G, Qt::ControlModifier);
        click(Qt::Key_CapsLock);
        QVERIFY(field()->isRecording());
        QCOMPARE(label(), "???");
        QVERIFY(m_manager->registeredHotKeys().isEmpty());
        click(Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(label(), "⌃ A");
    }

    void clicksDoNothingWhileRecording()
    {
        QSignalSpy clicked(m_host->button, &QPushButton::clicked);
        QTest::mouseClick(field(), Qt::LeftButton);
        QTest::mouseClick(m_host->button, Qt::LeftButton);
        QTest::mouseClick(field()->resetButton(), Qt::LeftButton);
        QTest::mouseClick(field(), Qt::LeftButton);
        QVERIFY(clicked.isEmpty());
        QVERIFY(field()->isRecording());
        QCOMPARE(m_host->removals, 1);
        click(Qt::Key_Escape);
        QTest::mouseClick(m_host->button, Qt::LeftButton);
        QCOMPARE(clicked.size(), 1);
    }

    void disabledFieldNeverRecords()
    {
        field()->setModifiers(commandShift);
        field()->setKey("k");
        field()->setEnabled(false);
        QTest::mouseClick(field(), Qt::LeftButton);
        QVERIFY(!field()->isRecording());
        QCOMPARE(m_host->removals, 0);
        QCOMPARE(label(), "⇧⌘ K");
        QVERIFY(GuiTestSupport::saveScreenshot(m_host.get(), "hotkeyfield-disabled"));

        // Disabled in the middle of a recording: the grab goes with it.
        field()->setEnabled(true);
        QTest::mouseClick(field(), Qt::LeftButton);
        QVERIFY(field()->isRecording());
        field()->setEnabled(false);
        QVERIFY(!field()->isRecording());
        QCOMPARE(QWidget::keyboardGrabber(), nullptr);
    }

    void resetRemovesTheShortcut()
    {
        recordCommandShiftK();
        QTest::mouseClick(field()->resetButton(), Qt::LeftButton);
        QCOMPARE(label(), "HotKey");
        QCOMPARE(m_host->removals, 2);
        QVERIFY(m_manager->registeredHotKeys().isEmpty());
        QVERIFY(m_backend->grabs.isEmpty());
        QVERIFY(GuiTestSupport::saveScreenshot(m_host.get(), "hotkeyfield-empty"));
    }

    void refusedCombinationIsShownAsNotTaken()
    {
        m_backend->takenByOthers.insert({40, CarbonModifier::fromFlags(commandShift)});
        recordCommandShiftK();
        QCOMPARE(label(), "HotKey");
        QVERIFY2(field()->toolTip().contains("Shift+Super+K is already taken by another program"),
                 qPrintable(field()->toolTip()));
        QVERIFY(!m_host->infos);
        QVERIFY(m_manager->registeredHotKeys().isEmpty());
        QVERIFY(GuiTestSupport::saveScreenshot(m_host.get(), "hotkeyfield-refused"));

        // The next recording starts from a clean slate.
        m_backend->takenByOthers.clear();
        recordCommandShiftK();
        QCOMPARE(field()->toolTip(), "Shift+Super+K");
    }

    void recordedShortcutFiresThroughTheXServer()
    {
        if (!onXcb())
            QSKIP("needs the X server");
        KeyboardLayout xLayout;
        QVERIFY(X11HotKeys::install(xLayout));
        QCOMPARE(QProcess::execute("setxkbmap", {"us"}), 0);
        QTRY_VERIFY(xLayout.keyCodesMapping().contains("k"));
        // A manager of its own, created over the X backend.
        m_host.reset();
        // The old manager goes first: its end unregisters everything.
        m_manager.reset();
        m_manager = std::make_unique<AppHotKeyManager>();
        QStringList pressed;
        m_manager->onHotKeyPressed = [&](const QString& id) {
            pressed.append(id);
        };
        m_host = std::make_unique<Host>(m_manager.get());
        field()->setKeyboardLayout(&xLayout);
        m_host->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_host.get()));

        // Recorded from real key events: the field holds the X keyboard.
        QTest::mouseClick(field(), Qt::LeftButton);
        QVERIFY(field()->isRecording());
        QCOMPARE(QProcess::execute("xdotool", {"key", "ctrl+alt+k"}), 0);
        QTRY_VERIFY(!field()->isRecording());
        QCOMPARE(label(), "⌃⌥ K");
        QVERIFY(m_manager->registeredHotKey("script-1"));

        QCOMPARE(QProcess::execute("xdotool", {"key", "ctrl+alt+k"}), 0);
        QTRY_COMPARE(pressed, QStringList{"script-1"});

        QTest::mouseClick(field()->resetButton(), Qt::LeftButton);
        QCOMPARE(QProcess::execute("xdotool", {"key", "ctrl+alt+k", "ctrl+alt+Return"}), 0);
        QTest::qWait(300);
        QCOMPARE(pressed, QStringList{"script-1"});
        m_host.reset();
        m_manager.reset();
        HotKeyManager::setBackend(nullptr);
    }
};

BRAMBLEWORTH_GUI_TEST_MAIN(TestTQHotKeyField)
#include "test_TQHotKeyField.moc"
