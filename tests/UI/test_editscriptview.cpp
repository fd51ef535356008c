// SPDX-License-Identifier: GPL-3.0-or-later
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

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <QToolButton>

// The script editor pane driven through its widgets: what it shows for user, built-in and
// linked scripts, what each edit changes, when the library is written, and the pane in the
// main window.
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
};

BRAMBLEWORTH_GUI_TEST_MAIN(TestEditScriptView)
#include "test_editscriptview.moc"
