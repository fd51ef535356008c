// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/BrambleworthAppDelegate.h"
#include "FakeHotKeyBackend.h"
#include "FakeKeyboardLayoutSource.h"
#include "HotKeys/AppHotKeyManager.h"
#include "HotKeys/HotKeyManager.h"
#include "HotKeys/KeyboardLayout.h"
#include "HotKeys/TQHotKeyField.h"
#include "Model/AppConfig.h"
#include "Model/Bookmark.h"
#include "Model/Preferences.h"
#include "QuillonCommons/NotificationCenter.h"
#include "SyntaxHighlight/TQCodeEditorTextView.h"
#include "UI/EditScriptViewController.h"
#include "UI/MainWindow.h"
#include "UI/MainWindowContoller.h"
#include "UI/SidebarViewController.h"
#include "common/GuiTestSupport.h"
#include "platform/x11/X11HotKeys.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QScopeGuard>
#include <QTimer>
#include <QToolButton>

#include <xcb/xcb.h>
#include <xcb/xtest.h>
#include <xkbcommon/xkbcommon-keysyms.h>

#include <cstdlib>

namespace {

// A second keyboard on the X server, through XTest: what it types goes through the server's
// grabs and input focus exactly as a real keyboard's keys would.
class XTestKeyboard
{
public:
    XTestKeyboard() : m_connection(xcb_connect(nullptr, nullptr)) {}
    ~XTestKeyboard() { xcb_disconnect(m_connection); }
    XTestKeyboard(const XTestKeyboard&) = delete;
    XTestKeyboard& operator=(const XTestKeyboard&) = delete;

    bool isUsable() const
    {
        if (xcb_connection_has_error(m_connection))
            return false;
        const xcb_query_extension_reply_t* xtest =
            xcb_get_extension_data(m_connection, &xcb_test_id);
        return xtest && xtest->present;
    }

    // Presses the keys in order and releases them in reverse order; false when the server's
    // keyboard has no key for one of them.
    bool click(const QList<xcb_keysym_t>& keysyms)
    {
        QList<xcb_keycode_t> codes;
        for (const xcb_keysym_t keysym : keysyms) {
            const xcb_keycode_t code = keyCode(keysym);
            if (!code)
                return false;
            codes.append(code);
        }
        for (const xcb_keycode_t code : std::as_const(codes))
            fake(XCB_KEY_PRESS, code);
        for (auto code = codes.crbegin(); code != codes.crend(); ++code)
            fake(XCB_KEY_RELEASE, *code);
        // Answered only once the server has handled the keys before it.
        std::free(
            xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
        return true;
    }

private:
    // The key that types the keysym without modifiers, else at any level; 0 for none. Asked of
    // the server, whose layout depends on the machine.
    xcb_keycode_t keyCode(xcb_keysym_t keysym)
    {
        const xcb_setup_t* setup = xcb_get_setup(m_connection);
        const int count = setup->max_keycode - setup->min_keycode + 1;
        xcb_get_keyboard_mapping_reply_t* mapping = xcb_get_keyboard_mapping_reply(
            m_connection, xcb_get_keyboard_mapping(m_connection, setup->min_keycode, count),
            nullptr);
        if (!mapping)
            return 0;
        const xcb_keysym_t* keysyms = xcb_get_keyboard_mapping_keysyms(mapping);
        const int perKey = mapping->keysyms_per_keycode;
        xcb_keycode_t found = 0;
        for (int level = 0; level < perKey && !found; ++level) {
            for (int key = 0; key < count && !found; ++key) {
                if (keysyms[key * perKey + level] == keysym)
                    found = xcb_keycode_t(setup->min_keycode + key);
            }
        }
        std::free(mapping);
        return found;
    }

    void fake(quint8 type, xcb_keycode_t code)
    {
        xcb_test_fake_input(m_connection, type, code, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    }

    xcb_connection_t* m_connection;
};

// Whether a key reached the application as an ordinary key press, to whichever widget.
class KeyPressWatch : public QObject
{
public:
    explicit KeyPressWatch(int key) : m_key(key) { qApp->installEventFilter(this); }
    bool seen = false;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == m_key)
            seen = true;
        return QObject::eventFilter(watched, event);
    }

private:
    int m_key;
};

} // namespace

// The script editor pane driven through its widgets: what it shows for user, built-in and
// linked scripts, what each edit changes, when the library is written, the pane in the main
// window, and a hot key recorded in it running its script from a key press on the X server.
class TestEditScriptView : public QObject
{
    Q_OBJECT

    TestEnvironment m_environment;
    int m_folderCount = 0;
    QString m_folder;
    std::unique_ptr<ScriptsManager> m_manager;
    std::unique_ptr<AppHotKeyManager> m_hotKeys;
    KeyboardLayout m_layout{std::make_unique<FakeKeyboardLayoutSource>()};

    Preferences& preferences() { return Preferences::shared(); }

    // A small engine list, restricted to two languages when "RestrictSyntaxHighlight" is on.
    QList<Language> languages()
    {
        if (preferences().boolean(QStringLiteral("RestrictSyntaxHighlight")))
            return {{"python", "Python"}, {"bash", "Bash"}};
        return {{"python", "Python"},
                {"bash", "Bash"},
                {"cs", "C#"},
                {"awk", "awk"},
                {"haskell", "Haskell"}};
    }

    std::unique_ptr<EditScriptViewController> makePane(const ScriptPtr& script)
    {
        auto pane = std::make_unique<EditScriptViewController>(script, preferences(),
                                                               [this] { return languages(); });
        pane->setScriptsManager(m_manager.get());
        pane->setHotKeyManager(m_hotKeys.get(), &m_layout);
        pane->resize(640, 420);
        pane->show();
        // Typing and completion need the keyboard focus, which an inactive window does not get.
        pane->activateWindow();
        if (!QTest::qWaitForWindowActive(pane.get()))
            qWarning("the pane's window did not become active");
        return pane;
    }

    QString libraryPath() const { return *ScriptsManager::libraryFileURL(); }
    // Whether the library was written since the last call.
    bool saved()
    {
        const bool exists = QFile::exists(libraryPath());
        QFile::remove(libraryPath());
        return exists;
    }

    QString writeFile(const QString& name, const QString& text)
    {
        const QString path = m_folder + QLatin1Char('/') + name;
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            return {};
        file.write(text.toUtf8());
        return path;
    }
    static QString readFile(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }

    // Answers the next modal alert with the button of that text, and reports what it said.
    void answerAlert(const QString& button, QString* text, QString* informative)
    {
        QTimer::singleShot(20, this, [=] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (!box) {
                if (QWidget* other = QApplication::activeModalWidget())
                    other->close();
                return;
            }
            *text = box->text();
            *informative = box->informativeText();
            QStringList titles;
            for (QAbstractButton* b : box->buttons())
                titles.append(b->text());
            titles.sort();
            *informative += QStringLiteral("|") + titles.join(QLatin1Char(','));
            if (box->defaultButton())
                *informative += QStringLiteral("|") + box->defaultButton()->text();
            QCOMPARE(box->icon(), QMessageBox::Information);
            QVERIFY(GuiTestSupport::saveScreenshot(box, QStringLiteral("editscript-alert")));
            for (QAbstractButton* b : box->buttons()) {
                if (b->text() == button)
                    QTest::mouseClick(b, Qt::LeftButton);
            }
        });
    }

private slots:
    void initTestCase() { HotKeyManager::setKeyboardLayout(&m_layout); }
    void cleanupTestCase() { HotKeyManager::setKeyboardLayout(nullptr); }

    void init()
    {
        m_folder = m_environment.makeFolder(QStringLiteral("support-%1").arg(++m_folderCount));
        preferences().setValue(Preferences::customApplicationSupportDirectoryKey(), m_folder);
        preferences().setValue(QStringLiteral("RestrictSyntaxHighlight"), false);
        preferences().setValue(QStringLiteral("UseSyntaxtHighlighting"), true);
        AppConfig::setPreferences(&preferences());
        HotKeyManager::unregisterAll();
        HotKeyManager::setBackend(std::make_unique<FakeHotKeyBackend>());
        m_manager = std::make_unique<ScriptsManager>();
        m_hotKeys = std::make_unique<AppHotKeyManager>();
    }

    void cleanup()
    {
        m_hotKeys.reset();
        m_manager.reset();
    }

    void userScriptShowsAndEditsEveryField()
    {
        const ScriptPtr script =
            Script::create(QStringLiteral("Backup"), QStringLiteral("echo one\n"), false);
        script->setCategory(QStringLiteral("Disks"));
        script->setLanguage(QStringLiteral("bash"));
        const ScriptPtr other = Script::create(QStringLiteral("Other"), QString(), false);
        other->setCategory(QStringLiteral("Network"));
        m_manager->setScripts({script, other});
        m_hotKeys->add(script->id(), QStringLiteral("k"), ModifierFlag::command);
        auto pane = makePane(script);
        QVERIFY(QTest::qWaitForWindowExposed(pane.get()));

        for (const char* name : {"nameTextField", "keepLogButton", "codeEditor", "startButton",
                                 "languagesPopUpButton", "hotkeyView", "categoryLabel",
                                 "categoryComboBox", "linkedToStackView", "linkedToLabel"})
            QVERIFY2(pane->findChild<QWidget*>(QString::fromLatin1(name)), name);
        // Each field is read out under its caption.
        QHash<QWidget*, QString> captions;
        for (QLabel* label : pane->findChildren<QLabel*>()) {
            if (label->buddy())
                captions.insert(label->buddy(), label->text().remove(QLatin1Char('&')));
        }
        QCOMPARE(captions.value(pane->nameTextField()), QStringLiteral("Name"));
        QCOMPARE(captions.value(pane->categoryComboBox()), QStringLiteral("Category"));
        QCOMPARE(captions.value(pane->languagesPopUpButton()), QStringLiteral("Language"));
        QCOMPARE(captions.value(pane->hotkeyView()), QStringLiteral("Hot key"));
        QCOMPARE(captions.value(pane->linkedToLabel()), QStringLiteral("Linked to"));
        QCOMPARE(pane->keepLogButton()->text().remove(QLatin1Char('&')),
                 QStringLiteral("Keep log"));

        QVERIFY(!pane->startButton()->isVisible());
        QVERIFY(!pane->linkedToStackView()->isVisible());
        QCOMPARE(pane->nameTextField()->text(), QStringLiteral("Backup"));
        QCOMPARE(pane->codeEditor()->toPlainText(), QStringLiteral("echo one\n"));
        QVERIFY(!pane->codeEditor()->isReadOnly());
        QVERIFY(pane->codeEditor()->isSyntaxHighlightEnabled());
        QCOMPARE(pane->languagesPopUpButton()->currentText(), QStringLiteral("Bash"));
        QCOMPARE(pane->categoryComboBox()->currentText(), QStringLiteral("Disks"));
        QCOMPARE(pane->categoryComboBox()->count(), 2);
        QCOMPARE(pane->hotkeyView()->textField()->text(), QStringLiteral("⌘ K"));
        QCOMPARE(pane->scriptHotKeyInfos()->key, QStringLiteral("k"));
        QVERIFY(GuiTestSupport::saveScreenshot(pane.get(), QStringLiteral("editscript-user")));

        // The name: every keystroke renames and saves.
        saved();
        pane->nameTextField()->setFocus();
        QTest::keyClick(pane->nameTextField(), Qt::Key_End);
        QTest::keyClick(pane->nameTextField(), Qt::Key_S);
        QCOMPARE(script->name(), QStringLiteral("Backups"));
        QVERIFY(saved());
        QTest::keyClick(pane->nameTextField(), Qt::Key_Backspace);
        QCOMPARE(script->name(), QStringLiteral("Backup"));
        QVERIFY(saved());

        // Keep-log, category and language reach the script but wait for the next save.
        QTest::mouseClick(pane->keepLogButton(), Qt::LeftButton);
        QVERIFY(script->keepLog());
        pane->categoryComboBox()->setFocus();
        pane->categoryComboBox()->lineEdit()->clear();
        QTest::keyClicks(pane->categoryComboBox()->lineEdit(), QStringLiteral("Net"));
        QTest::keyClick(pane->categoryComboBox()->lineEdit(), Qt::Key_Return);
        QCOMPARE(script->category(), QStringLiteral("Network"));
        pane->languagesPopUpButton()->setCurrentIndex(
            pane->languagesPopUpButton()->findText(QStringLiteral("Python")));
        QCOMPARE(script->language(), QStringLiteral("python"));
        QCOMPARE(pane->codeEditor()->language(), QStringLiteral("python"));
        QVERIFY(!saved());

        // The text: every keystroke reaches the script, leaving the editor saves.
        pane->codeEditor()->setFocus();
        pane->codeEditor()->moveCursor(QTextCursor::End);
        QTest::keyClicks(pane->codeEditor(), QStringLiteral("ls"));
        QCOMPARE(script->content(), QStringLiteral("echo one\nls"));
        QVERIFY(!saved());
        pane->nameTextField()->setFocus();
        QVERIFY(saved());

        // Changes made elsewhere show; highlighting and theme follow the preferences.
        script->setName(QStringLiteral("Renamed"));
        QCOMPARE(pane->nameTextField()->text(), QStringLiteral("Renamed"));
        preferences().setValue(QStringLiteral("UseSyntaxtHighlighting"), false);
        QVERIFY(!pane->codeEditor()->isSyntaxHighlightEnabled());
        preferences().setValue(QStringLiteral("SyntaxtHighlightThemeName"),
                               QStringLiteral("xcode"));
        QCOMPARE(pane->codeEditor()->themeName(), QStringLiteral("xcode"));

        // Reset in the hot key field drops the assignment.
        QTest::mouseClick(pane->hotkeyView()->resetButton(), Qt::LeftButton);
        QVERIFY(!pane->scriptHotKeyInfos());
        QVERIFY(!m_hotKeys->registeredHotKey(script->id()));

        // The pane going away saves.
        pane.reset();
        QVERIFY(saved());
    }

    void builtInScriptIsReadOnlyWithoutCategory()
    {
        const ScriptPtr script =
            Script::create(QStringLiteral("Say hello"), QStringLiteral("echo hello\n"), true);
        script->setLanguage(QStringLiteral("bash"));
        m_manager->setScripts({script});
        auto pane = makePane(script);
        QVERIFY(QTest::qWaitForWindowExposed(pane.get()));
        QVERIFY(pane->codeEditor()->isReadOnly());
        QVERIFY(!pane->languagesPopUpButton()->isEnabled());
        QVERIFY(!pane->categoryComboBox()->isVisible());
        QVERIFY(!pane->categoryLabel()->isVisible());
        QTest::keyClicks(pane->codeEditor(), QStringLiteral("rm"));
        QCOMPARE(script->content(), QStringLiteral("echo hello\n"));
        QVERIFY(GuiTestSupport::saveScreenshot(pane.get(), QStringLiteral("editscript-builtin")));
    }

    void languageListIsSortedAndFallsBackToBash()
    {
        const ScriptPtr script = Script::create(QStringLiteral("s"), QStringLiteral("x"), false);
        script->setLanguage(QStringLiteral("haskell"));
        auto pane = makePane(script);
        QStringList names;
        for (int i = 0; i < pane->languagesPopUpButton()->count(); ++i)
            names.append(pane->languagesPopUpButton()->itemText(i));
        // Plain code-point order: capitals before lower case.
        QCOMPARE(names, QStringList({"Bash", "C#", "Haskell", "Python", "awk"}));
        QCOMPARE(pane->languagesPopUpButton()->currentText(), QStringLiteral("Haskell"));
        QCOMPARE(script->language(), QStringLiteral("haskell"));

        preferences().setValue(QStringLiteral("RestrictSyntaxHighlight"), true);
        QCOMPARE(pane->languagesPopUpButton()->count(), 2);
        QCOMPARE(pane->languagesPopUpButton()->currentText(), QStringLiteral("Bash"));
        QCOMPARE(script->language(), QStringLiteral("bash"));
        QCOMPARE(pane->codeEditor()->language(), QStringLiteral("bash"));
        QVERIFY(
            GuiTestSupport::saveScreenshot(pane.get(), QStringLiteral("editscript-restricted")));

        // A script opened with the restriction already on changes at once.
        const ScriptPtr awk = Script::create(QStringLiteral("a"), QStringLiteral("x"), false);
        awk->setLanguage(QStringLiteral("awk"));
        auto second = makePane(awk);
        QCOMPARE(awk->language(), QStringLiteral("bash"));
    }

    void linkedScriptWritesItsFileOnEveryKeystroke()
    {
        const QString path = writeFile(QStringLiteral("linked.sh"), QStringLiteral("echo a\n"));
        const ScriptPtr script = Script::create(QStringLiteral("Linked"), QString(), false);
        script->setBookmark(Bookmark::create(path));
        m_manager->setScripts({script});
        auto pane = makePane(script);
        QVERIFY(QTest::qWaitForWindowExposed(pane.get()));
        QVERIFY(pane->linkedToStackView()->isVisible());
        QCOMPARE(pane->linkedToLabel()->text(), path);
        QCOMPARE(pane->codeEditor()->toPlainText(), QStringLiteral("echo a\n"));
        pane->codeEditor()->setFocus();
        pane->codeEditor()->moveCursor(QTextCursor::End);
        QTest::keyClick(pane->codeEditor(), Qt::Key_X);
        QCOMPARE(readFile(path), QStringLiteral("echo a\nx"));
        QVERIFY(GuiTestSupport::saveScreenshot(pane.get(), QStringLiteral("editscript-linked")));

        QString revealed;
        pane->revealFile = [&](const QString& p) {
            revealed = p;
        };
        QTest::mouseClick(pane->showLinkedFileButton(), Qt::LeftButton);
        QCOMPARE(revealed, path);
    }

    void removingALinkAsksFirst_data()
    {
        QTest::addColumn<QString>("answer");
        QTest::addColumn<bool>("unlinked");
        QTest::newRow("cancel") << "Cancel" << false;
        QTest::newRow("ok") << "OK" << true;
    }

    void removingALinkAsksFirst()
    {
        QFETCH(QString, answer);
        QFETCH(bool, unlinked);
        const QString path = writeFile(QStringLiteral("kept.sh"), QStringLiteral("echo k\n"));
        const ScriptPtr script = Script::create(QStringLiteral("Linked"), QString(), false);
        script->setBookmark(Bookmark::create(path));
        m_manager->setScripts({script});
        auto pane = makePane(script);
        saved();
        QString text, informative;
        answerAlert(answer, &text, &informative);
        QTest::mouseClick(pane->removeLinkButton(), Qt::LeftButton);
        QCOMPARE(text, QStringLiteral("Remove link to file ") + path + QStringLiteral(" ?"));
        QCOMPARE(informative,
                 QStringLiteral("The script will be kept in Brambleworth but all new "
                                "changes will not be saved to the file.|Cancel,OK|Cancel"));
        QCOMPARE(!script->bookmark().has_value(), unlinked);
        QCOMPARE(saved(), unlinked);
        QCOMPARE(pane->linkedToStackView()->isHidden(), unlinked);
        QCOMPARE(script->content(), QStringLiteral("echo k\n"));
        QCOMPARE(readFile(path), QStringLiteral("echo k\n"));
    }

    void linkedScriptWhoseFileIsGoneUnlinksWithoutAsking()
    {
        const QString path = writeFile(QStringLiteral("gone.sh"), QStringLiteral("echo g\n"));
        const ScriptPtr script = Script::create(QStringLiteral("Gone"), QString(), false);
        script->setBookmark(Bookmark::create(path));
        QVERIFY(QFile::remove(path));
        m_manager->setScripts({script});
        auto pane = makePane(script);
        QVERIFY(QTest::qWaitForWindowExposed(pane.get()));
        QVERIFY(pane->linkedToStackView()->isVisible());
        QCOMPARE(pane->linkedToLabel()->text(), QString());
        QVERIFY(GuiTestSupport::saveScreenshot(pane.get(), QStringLiteral("editscript-gone")));

        bool revealed = false;
        pane->revealFile = [&](const QString&) {
            revealed = true;
        };
        QTest::mouseClick(pane->showLinkedFileButton(), Qt::LeftButton);
        QVERIFY(!revealed);

        saved();
        QString text, informative;
        answerAlert(QStringLiteral("Cancel"), &text, &informative);
        QTest::mouseClick(pane->removeLinkButton(), Qt::LeftButton);
        QVERIFY(text.isEmpty());
        QVERIFY(!script->bookmark());
        QVERIFY(saved());
        QVERIFY(!pane->linkedToStackView()->isVisible());
    }

    void renamingInTheMainWindowKeepsTheSelection()
    {
        NotificationCenter center;
        ScriptExecutorManager executor;
        MainWindowContoller controller(preferences(), &center);
        controller.setScriptsManager(m_manager.get());
        controller.setScriptExecutor(&executor);
        controller.setHotKeyManager(m_hotKeys.get());
        controller.setScriptPaneFactory([this](const ScriptPtr& s, MainWindowContoller& c) {
            auto* pane =
                new EditScriptViewController(s, preferences(), [this] { return languages(); });
            pane->setScriptsManager(c.scriptsManager());
            return pane;
        });
        ScriptList scripts;
        for (const char* name : {"alpha", "beta", "gamma"})
            scripts.append(
                Script::create(QString::fromLatin1(name), QStringLiteral("echo\n"), false));
        m_manager->setScripts(scripts);
        controller.showWindow();
        QVERIFY(QTest::qWaitForWindowExposed(controller.window()));
        QVERIFY(controller.sidebarViewController()->selectScript(scripts.at(0)));
        auto* pane = qobject_cast<EditScriptViewController*>(controller.detailView());
        QVERIFY(pane);
        QCOMPARE(pane->script(), scripts.at(0));

        pane->nameTextField()->setFocus();
        QTest::keyClick(pane->nameTextField(), Qt::Key_End);
        // Past the others in any order the sidebar might keep.
        QTest::keyClicks(pane->nameTextField(), QStringLiteral("zzz"));
        QCOMPARE(scripts.at(0)->name(), QStringLiteral("alphazzz"));
        const auto selected = controller.sidebarViewController()->selectedObject();
        QVERIFY(std::get_if<ScriptPtr>(&selected));
        QCOMPARE(*std::get_if<ScriptPtr>(&selected), scripts.at(0));
        QCOMPARE(controller.detailView(), pane);
        QVERIFY(GuiTestSupport::saveScreenshot(controller.window(),
                                               QStringLiteral("editscript-mainwindow")));

        // A new script puts the cursor in its name.
        controller.addNewScript();
        auto* added = qobject_cast<EditScriptViewController*>(controller.detailView());
        QVERIFY(added);
        QCOMPARE(added->script(), m_manager->scripts().last());
    }

    // The whole way a user goes: the application launched over the X11 backend, the script's
    // pane opened from the sidebar, a shortcut recorded in its field, then that combination
    // typed on the X server starts a run whose process writes a marker; after a reset in the
    // field the same combination reaches the application as a plain key and runs nothing.
    void hotKeyRecordedInThePaneRunsTheScriptUntilReset()
    {
        if (QGuiApplication::platformName() != QLatin1String("xcb"))
            QSKIP("needs an X server with XTest: runs in the _xcb variant, on Xvfb");
        XTestKeyboard keyboard;
        if (!keyboard.isUsable())
            QSKIP("the X server has no XTest extension");

        // The X backend and its layout replace the fakes for this function only; the
        // registrations go before the layout they were looked up in.
        KeyboardLayout xLayout;
        const auto restoreFakes = qScopeGuard([this] {
            HotKeyManager::unregisterAll();
            HotKeyManager::setBackend(std::make_unique<FakeHotKeyBackend>());
            HotKeyManager::setKeyboardLayout(&m_layout);
        });
        // Its event handler went to the fake backend; the application's manager is made over
        // the X one, as at start-up.
        m_hotKeys.reset();
        QVERIFY(X11HotKeys::install(xLayout));
        AppHotKeyManager hotKeys;

        const QString marker = m_folder + QStringLiteral("/ran");
        const ScriptPtr stored =
            Script::create(QStringLiteral("Marker"),
                           QStringLiteral("#!/bin/sh\necho ran >> '%1'\n").arg(marker), false);
        // A kept log keeps the finished run in the list.
        stored->setKeepLog(true);
        TestEnvironment::writeFile(libraryPath(), *Script::encodeLibrary({stored}));
        preferences().setValue(Preferences::Identifier::includeBuiltInScripts, false);

        BrambleworthAppDelegate app(*m_manager, preferences());
        app.isTrayAvailable = [] {
            return true;
        };
        app.isMenuExportedOverDBus = [] {
            return false;
        };
        app.setHotKeyManager(&hotKeys);
        app.applicationDidFinishLaunching();
        ScriptExecutorManager& executor = app.executor();
        const auto finishRuns = qScopeGuard([&executor] { TestEnvironment::finishRuns(executor); });
        QCOMPARE(m_manager->scripts().size(), 1);
        const ScriptPtr script = m_manager->scripts().first();

        app.openMainWindow();
        MainWindowContoller* controller = app.mainWindowController();
        QVERIFY(QTest::qWaitForWindowActive(controller->window()));
        QVERIFY(controller->sidebarViewController()->selectScript(script));
        auto* pane = qobject_cast<EditScriptViewController*>(controller->detailView());
        QVERIFY(pane);
        QCOMPARE(pane->script(), script);
        TQHotKeyField* field = pane->hotkeyView();
        QCOMPARE(field->textField()->text(), QStringLiteral("HotKey"));

        // Recorded from key events sent to the window: the field gets them because it holds
        // the keyboard.
        QTest::mouseClick(field, Qt::LeftButton);
        QVERIFY(field->isRecording());
        QTest::keyClick(controller->window()->windowHandle(), Qt::Key_F9,
                        Qt::ControlModifier | Qt::AltModifier | Qt::ShiftModifier);
        QVERIFY(!field->isRecording());
        QCOMPARE(field->textField()->text(), QStringLiteral("⌃⇧⌥ F9"));
        const RegisteredHotKey recorded{script->id(), QStringLiteral("F9"),
                                        ModifierFlag::control | ModifierFlag::option |
                                            ModifierFlag::shift};
        QCOMPARE(hotKeys.registeredHotKeys(), QList<RegisteredHotKey>{recorded});
        QCOMPARE(pane->scriptHotKeyInfos(), std::optional(HotKeyInfos::from(recorded)));
        QVERIFY(GuiTestSupport::saveScreenshot(pane, QStringLiteral("editscript-hotkey")));

        const QList<xcb_keysym_t> combination{XKB_KEY_Control_L, XKB_KEY_Alt_L, XKB_KEY_Shift_L,
                                              XKB_KEY_F9};
        QVERIFY(executor.runningScripts().isEmpty());
        QVERIFY(keyboard.click(combination));
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(marker), 5000);
        QCOMPARE(executor.runningScripts().size(), 1);
        const RunningScriptPtr run = executor.runningScripts().first();
        QCOMPARE(run->name(), QStringLiteral("Marker"));
        QTRY_VERIFY_WITH_TIMEOUT(run->termination().has_value(), 5000);
        QCOMPARE(run->termination()->shellStatus(), 0);
        QCOMPARE(TestEnvironment::readFile(marker), QByteArray("ran\n"));

        // Reset the way a user does it: the field's clear button.
        QTest::mouseClick(field->resetButton(), Qt::LeftButton);
        QCOMPARE(field->textField()->text(), QStringLiteral("HotKey"));
        QVERIFY(hotKeys.registeredHotKeys().isEmpty());
        QVERIFY(!pane->scriptHotKeyInfos());

        KeyPressWatch watch(Qt::Key_F9);
        QVERIFY(keyboard.click(combination));
        QTest::qWait(500);
        QCOMPARE(executor.runningScripts(), RunningScriptList{run});
        QCOMPARE(TestEnvironment::readFile(marker), QByteArray("ran\n"));
        // Not because the press went astray: no longer grabbed, it reached the focused window
        // like any other key.
        QTRY_VERIFY(watch.seen);
    }
};

BRAMBLEWORTH_GUI_TEST_MAIN(TestEditScriptView)
#include "test_editscriptview.moc"
