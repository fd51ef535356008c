// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/AppActions.h"
#include "App/BrambleworthAppDelegate.h"
#include "FakeHotKeyBackend.h"
#include "FakeKeyboardLayoutSource.h"
#include "HotKeys/AppHotKeyManager.h"
#include "HotKeys/HotKeyManager.h"
#include "HotKeys/KeyboardLayout.h"
#include "Model/AppConfig.h"
#include "Model/Preferences.h"
#include "QuillonCommons/LogCapture.h"
#include "QuillonCommons/StatusItem.h"
#include "UI/MainWindow.h"
#include "UI/MainWindowContoller.h"
#include "UI/PreferencesWindow.h"
#include "UI/PreferencesWindowController.h"
#include "common/GuiTestSupport.h"

#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QIcon>
#include <QMenu>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QSystemTrayIcon>

#include <algorithm>

// The application's launch order, its tray menu (exact items, rebuilt at each opening), and
// scripts started from the menu, from hot keys and for other processes.
// Stands in for the mail program.
class MailRecorder : public QObject
{
    Q_OBJECT
public:
    QList<QUrl> opened;
public slots:
    void open(const QUrl& url) { opened.append(url); }
};

class TestAppDelegate : public QObject
{
    Q_OBJECT

    TestEnvironment m_environment;
    int m_folderCount = 0;
    QString m_folder;
    FakeHotKeyBackend* m_backend = nullptr;
    std::unique_ptr<ScriptsManager> m_manager;
    std::unique_ptr<AppHotKeyManager> m_hotKeys;
    std::unique_ptr<BrambleworthAppDelegate> m_delegate;

    Preferences& preferences() { return Preferences::shared(); }

    void writeLibrary(const ScriptList& scripts)
    {
        TestEnvironment::writeFile(m_folder + QStringLiteral("/Brambleworth.json"),
                                   *Script::encodeLibrary(scripts));
    }

    static ScriptPtr script(const QString& name, const QString& category = QString())
    {
        ScriptPtr s = Script::create(name, QStringLiteral("#!/bin/sh\nexit 0\n"), false);
        s->setCategory(category);
        return s;
    }

    BrambleworthAppDelegate& launch(bool trayAvailable = true, bool overDBus = false)
    {
        m_delegate = std::make_unique<BrambleworthAppDelegate>(*m_manager, preferences());
        m_delegate->isTrayAvailable = [trayAvailable] {
            return trayAvailable;
        };
        m_delegate->isMenuExportedOverDBus = [overDBus] {
            return overDBus;
        };
        m_delegate->setHotKeyManager(m_hotKeys.get());
        m_delegate->applicationDidFinishLaunching();
        return *m_delegate;
    }

    // The menu as opened: "-" for a separator, "Title>[...]" for a submenu, "(off)" when
    // disabled.
    static QStringList describe(QMenu* menu)
    {
        QStringList items;
        for (QAction* action : menu->actions()) {
            if (action->isSeparator()) {
                items.append(QStringLiteral("-"));
                continue;
            }
            QString text = action->text();
            if (!action->isEnabled())
                text += QStringLiteral("(off)");
            if (QMenu* submenu = action->menu())
                text += QStringLiteral(">[") + describe(submenu).join(QLatin1Char('|')) +
                        QLatin1Char(']');
            items.append(text);
        }
        return items;
    }

    QStringList openedMenu()
    {
        QMenu* menu = m_delegate->statusMenu();
        menu->popup(QPoint(40, 40));
        const QStringList items = describe(menu);
        menu->hide();
        return items;
    }

    static QStringList fixedItems()
    {
        return {"About Brambleworth",
                "-",
                "Check Updates…(off)",
                "Settings…",
                "Send feedbacks…",
                "-",
                "Quit",
                "-",
                "Open scripts window",
                "-"};
    }

    KeyboardLayout m_layout{std::make_unique<FakeKeyboardLayoutSource>()};

private slots:
    void initTestCase() { HotKeyManager::setKeyboardLayout(&m_layout); }
    void cleanupTestCase() { HotKeyManager::setKeyboardLayout(nullptr); }

    void init()
    {
        const QString base =
            m_environment.makeFolder(QStringLiteral("support-%1").arg(++m_folderCount));
        preferences().setValue(Preferences::customApplicationSupportDirectoryKey(), base);
        preferences().setValue(Preferences::Identifier::includeBuiltInScripts, false);
        preferences().setValue(Preferences::Identifier::arrangeScriptMenuByCategories, false);
        AppConfig::setPreferences(&preferences());
        m_folder = *AppConfig::applicationSupportDirectoryURL();
        HotKeyManager::unregisterAll();
        auto backend = std::make_unique<FakeHotKeyBackend>();
        m_backend = backend.get();
        HotKeyManager::setBackend(std::move(backend));
        m_manager = std::make_unique<ScriptsManager>();
        m_hotKeys = std::make_unique<AppHotKeyManager>();
    }

    void cleanup()
    {
        if (m_delegate)
            TestEnvironment::finishRuns(m_delegate->executor());
        m_delegate.reset();
        m_hotKeys.reset();
        m_manager.reset();
    }

    void themedIconsFollowTheBundledOnes()
    {
        // A theme of the test's own that has both images, so that a lookup shows.
        const QString themes = m_environment.makeFolder(QStringLiteral("icon-themes"));
        const QString theme = themes + QStringLiteral("/brambletest");
        QVERIFY(QDir().mkpath(theme + QStringLiteral("/scalable/apps")));
        QFile index(theme + QStringLiteral("/index.theme"));
        QVERIFY(index.open(QIODevice::WriteOnly));
        index.write("[Icon Theme]\nName=brambletest\nDirectories=scalable/apps\n\n"
                    "[scalable/apps]\nSize=16\nMinSize=8\nMaxSize=512\nType=Scalable\n");
        index.close();
        for (const char* name :
             {"org.brambleworth.Brambleworth", "org.brambleworth.Brambleworth-symbolic"})
            QVERIFY(QFile::copy(QStringLiteral(":/icons/hicolor/scalable/apps/"
                                               "org.brambleworth.Brambleworth.svg"),
                                theme + QStringLiteral("/scalable/apps/") + QLatin1String(name) +
                                    QStringLiteral(".svg")));
        const QStringList searchPaths = QIcon::themeSearchPaths();
        const QString themeName = QIcon::themeName();
        const auto restore = qScopeGuard([&] {
            QIcon::setThemeSearchPaths(searchPaths);
            QIcon::setThemeName(themeName);
            QGuiApplication::setWindowIcon(QIcon());
        });
        QIcon::setThemeSearchPaths({themes});
        QIcon::setThemeName(QStringLiteral("brambletest"));

        writeLibrary({script(QStringLiteral("Only"))});
        launch();
        // Launching shows the bundled image: no theme was read for it.
        QVERIFY(m_delegate->statusItem()->image->name().isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(m_delegate->statusItem()->image->name(),
                                  QStringLiteral("org.brambleworth.Brambleworth-symbolic"),
                                  BrambleworthAppDelegate::themedIconsDelayMs * 3);
        QCOMPARE(m_delegate->statusItem()->statusItem()->icon().name(),
                 QStringLiteral("org.brambleworth.Brambleworth-symbolic"));
        QCOMPARE(QGuiApplication::windowIcon().name(),
                 QStringLiteral("org.brambleworth.Brambleworth"));
    }

    void menuOfAnEmptyLibrary()
    {
        launch();
        QCOMPARE(openedMenu(), fixedItems() + QStringList{"Built in scripts>[]"});
        QCOMPARE(m_delegate->statusMenu()->actions().last()->menu()->title(),
                 QStringLiteral("Built in scripts"));
        QCOMPARE(m_delegate->statusMenu()->actions().last()->menu()->objectName(),
                 QStringLiteral("BuiltInScripts"));
        QCOMPARE(m_delegate->statusItem()->menu.data(), m_delegate->statusMenu());
    }

    void menuListsBuiltInsThenUserScriptsAndIsRebuiltAtEachOpening()
    {
        preferences().setValue(Preferences::Identifier::includeBuiltInScripts, true);
        writeLibrary({script(QStringLiteral("Backup home")), script(QStringLiteral("Clean tmp"))});
        launch();
        const QString builtIns =
            QStringLiteral("Built in scripts>[Copy Date to Clipboard|Disk Usage of Home|Largest "
                           "Files in Downloads|Recently Changed Files|Listening Ports|Show IP "
                           "Addresses|Battery Status|Restart Audio Service|System Summary]");
        const QStringList first = fixedItems() + QStringList{builtIns, "Backup home", "Clean tmp"};
        QCOMPARE(openedMenu(), first);

        ScriptList scripts = m_manager->scripts();
        scripts.append(script(QStringLiteral("Added later")));
        scripts.removeAt(scripts.size() - 3);
        m_manager->setScripts(scripts);
        const QStringList second = fixedItems() + QStringList{builtIns, "Clean tmp", "Added later"};
        QCOMPARE(openedMenu(), second);
    }

    void menuGroupsUserScriptsByCategory()
    {
        preferences().setValue(Preferences::Identifier::arrangeScriptMenuByCategories, true);
        writeLibrary({script("Backup home", "Files"), script("Ping", "Network"),
                      script("Clean tmp", "Files"), script("Loose")});
        launch();
        const QStringList grouped =
            fixedItems() + QStringList{"Built in scripts>[]", "Files>[Backup home|Clean tmp]",
                                       "Network>[Ping]", ">[Loose]"};
        QCOMPARE(openedMenu(), grouped);
        int tagged = 0;
        for (QAction* action : m_delegate->statusMenu()->actions())
            tagged += action->property("tag").toInt() == BrambleworthAppDelegate::categoryItemTag;
        QCOMPARE(tagged, 3);

        // The preference is read at each opening.
        preferences().setValue(Preferences::Identifier::arrangeScriptMenuByCategories, false);
        const QStringList flat = fixedItems() + QStringList{"Built in scripts>[]", "Backup home",
                                                            "Ping", "Clean tmp", "Loose"};
        QCOMPARE(openedMenu(), flat);
    }

    void namesShowAsWrittenInEitherTray_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("overDBus");
        QTest::addColumn<QString>("title");
        QTest::newRow("underscore, QMenu") << "Clean_tmp" << false << "Clean_tmp";
        QTest::newRow("underscore, dbusmenu") << "Clean_tmp" << true << "Clean__tmp";
        QTest::newRow("ampersand, QMenu") << "Tom & Jerry" << false << "Tom && Jerry";
        QTest::newRow("ampersand, dbusmenu") << "Tom & Jerry" << true << "Tom && Jerry";
        QTest::newRow("both, dbusmenu") << "a_b&c__d" << true << "a__b&&c____d";
        QTest::newRow("plain") << "Backup home" << true << "Backup home";
    }

    void namesShowAsWrittenInEitherTray()
    {
        QFETCH(QString, name);
        QFETCH(bool, overDBus);
        QFETCH(QString, title);
        QCOMPARE(BrambleworthAppDelegate::menuTitle(name, overDBus), title);
        writeLibrary({script(name)});
        launch(true, overDBus);
        QCOMPARE(openedMenu().last(), title);
    }

    void menuItemsStartScriptsAndOpenTheWindow()
    {
        writeLibrary({script(QStringLiteral("Quick"))});
        launch();
        QVERIFY(!m_delegate->mainWindowController()->window()->isVisible());
        QMenu* menu = m_delegate->statusMenu();
        menu->popup(QPoint(40, 40));
        QVERIFY(GuiTestSupport::saveScreenshot(menu, QStringLiteral("status-menu")));
        menu->actions().last()->trigger();
        QCOMPARE(m_delegate->executor().runningScripts().size(), 1);
        QCOMPARE(m_delegate->executor().runningScripts().first()->name(), QStringLiteral("Quick"));

        for (QAction* action : menu->actions()) {
            if (action->text() == QLatin1String("Open scripts window"))
                action->trigger();
        }
        QVERIFY(m_delegate->mainWindowController()->window()->isVisible());

        QSignalSpy settings(m_delegate.get(), &BrambleworthAppDelegate::showSettingsRequested);
        QSignalSpy about(m_delegate.get(), &BrambleworthAppDelegate::showAboutRequested);
        QSignalSpy feedback(m_delegate.get(), &BrambleworthAppDelegate::sendFeedbacksRequested);
        MailRecorder mail;
        QDesktopServices::setUrlHandler(QStringLiteral("mailto"), &mail, "open");
        menu->popup(QPoint(40, 40));
        for (QAction* action : menu->actions()) {
            if (action->text().startsWith(QLatin1String("Settings")) ||
                action->text().startsWith(QLatin1String("About")) ||
                action->text().startsWith(QLatin1String("Send")))
                action->trigger();
        }
        menu->hide();
        QDesktopServices::unsetUrlHandler(QStringLiteral("mailto"));
        QCOMPARE(settings.count() + about.count() + feedback.count(), 3);
        // Each item reached the window or program that carries it out.
        QVERIFY(m_delegate->preferecesWindowController());
        QVERIFY(m_delegate->preferecesWindowController()->window()->isVisible());
        QVERIFY(AppActions::aboutBox() && AppActions::aboutBox()->isVisible());
        QCOMPARE(mail.opened.size(), 1);
        QCOMPARE(mail.opened.first().scheme(), QStringLiteral("mailto"));
        AppActions::aboutBox()->close();
        m_delegate->preferecesWindowController()->window()->hide();

        // Only script items start anything.
        m_delegate->execute(nullptr);
        m_delegate->execute(menu);
        QCOMPARE(m_delegate->executor().runningScripts().size(), 1);
    }

    void launchShowsTheWindowOnlyWhenNeeded_data()
    {
        QTest::addColumn<bool>("withScript");
        QTest::addColumn<bool>("tray");
        QTest::addColumn<bool>("shown");
        QTest::newRow("empty library") << false << true << true;
        QTest::newRow("one script") << true << true << false;
        QTest::newRow("one script, no tray") << true << false << true;
    }

    void launchShowsTheWindowOnlyWhenNeeded()
    {
        QFETCH(bool, withScript);
        QFETCH(bool, tray);
        QFETCH(bool, shown);
        if (withScript)
            writeLibrary({script(QStringLiteral("Only"))});
        LogCapture log(true);
        launch(tray);
        QCOMPARE(m_manager->scripts().size(), withScript ? 1 : 0);
        // A start in the tray alone builds no window at all until one is asked for.
        const QWidgetList windows = QApplication::topLevelWidgets();
        QCOMPARE(std::count_if(windows.cbegin(), windows.cend(),
                               [](QWidget* window) { return qobject_cast<MainWindow*>(window); }),
                 shown ? 1 : 0);
        QCOMPARE(m_delegate->mainWindowController()->window()->isVisible(), shown);
        QCOMPARE(m_delegate->mainWindowController()->scriptsManager(), m_manager.get());
        QCOMPARE(m_delegate->mainWindowController()->scriptExecutor(), &m_delegate->executor());
        QCOMPARE(log.messages(LogLevel::notice).join('\n').contains("no system tray"), !tray);
        QVERIFY(log.contains(LogLevel::error,
                             QStringLiteral("SUFeedURL is not defined in Info.plist or empty")));
    }

    void hotKeysStartTheirScriptOrLogWhenItIsGone()
    {
        const ScriptPtr kept = script(QStringLiteral("Kept"));
        const ScriptPtr gone = script(QStringLiteral("Gone"));
        TestEnvironment::writeFile(
            m_folder + QStringLiteral("/HotKeys.json"),
            AppHotKeyManager::encode({{kept->id(), "a", ModifierFlag::command},
                                      {gone->id(), "s", ModifierFlag::command}}));
        m_hotKeys->load();
        writeLibrary({kept, gone});
        launch();
        // Registered at launch, for the scripts that exist.
        QVERIFY(HotKeyManager::hotKeyData(kept->id()));
        const quint32 keptId = HotKeyManager::hotKeyData(kept->id())->hotKeyId;
        const quint32 goneId = HotKeyManager::hotKeyData(gone->id())->hotKeyId;

        m_backend->press(keptId);
        m_backend->release(keptId);
        QCOMPARE(m_delegate->executor().runningScripts().size(), 1);
        QCOMPARE(m_delegate->executor().runningScripts().first()->name(), QStringLiteral("Kept"));

        // Deleted behind the hot key's back.
        m_manager->setScripts({m_manager->script(kept->id())});
        LogCapture log;
        m_backend->press(goneId);
        m_backend->release(goneId);
        QVERIFY(log.contains(LogLevel::error, QStringLiteral("script not found")));
        QCOMPARE(m_delegate->executor().runningScripts().size(), 1);
    }

    void triggerFindsScriptsByIdOrName()
    {
        const ScriptPtr first = script(QStringLiteral("Twin"));
        writeLibrary({first, script(QStringLiteral("Twin")), script(QStringLiteral("Solo"))});
        launch();
        QVERIFY(!m_delegate->trigger(QStringLiteral("Solo")));
        QVERIFY(!m_delegate->trigger(first->id()));
        QCOMPARE(m_delegate->executor().runningScripts().size(), 2);
        QVERIFY(m_delegate->trigger(QStringLiteral("Twin"))->contains(QStringLiteral("2 scripts")));
        QVERIFY(m_delegate->trigger(QStringLiteral("None"))->contains(QStringLiteral("None")));
        QCOMPARE(m_delegate->executor().runningScripts().size(), 2);
    }

    void statusItemKeepsItsLiveIconAcrossHideAndShow()
    {
        StatusItem item;
        QCOMPARE(item.behavior(), 0);
        item.removeAllowed = true;
        item.quitApplicationOnRemove = true;
        QCOMPARE(item.behavior(), StatusItem::removalAllowed | StatusItem::terminationOnRemoval);
        QCOMPARE(item.behavior(), 6);

        QVERIFY(!item.statusItem());
        QMenu menu;
        item.menu = &menu;
        item.title = QStringLiteral("Brambleworth");
        item.show();
        QSystemTrayIcon* live = item.statusItem();
        QVERIFY(live);
        QCOMPARE(live->contextMenu(), &menu);
        QCOMPARE(live->toolTip(), QStringLiteral("Brambleworth"));
        item.hide();
        QVERIFY(!live->isVisible());
        item.show();
        QCOMPARE(item.statusItem(), live);
        QVERIFY(live->isVisible());
        item.remove();
        QVERIFY(!item.statusItem());
    }

    void quittingSavesTheLibraryAndLeavesRunsAlone()
    {
        writeLibrary({script(QStringLiteral("Sleeper"))});
        launch();
        m_manager->scripts().first()->setContent(QStringLiteral("#!/bin/sh\nsleep 3\n"));
        m_delegate->execute(nullptr);
        m_delegate->trigger(QStringLiteral("Sleeper"));
        const RunningScriptPtr run = m_delegate->executor().runningScripts().first();
        m_manager->setScripts(m_manager->scripts() + ScriptList{script(QStringLiteral("Unsaved"))});

        m_delegate->applicationWillTerminate();
        QVERIFY(TestEnvironment::readFile(m_folder + QStringLiteral("/Brambleworth.json"))
                    .contains("Unsaved"));
        QVERIFY(run->isRunning());
        const std::weak_ptr<ScriptProcess> process = run->process();
        run->process()->interrupt();
        QTRY_VERIFY_WITH_TIMEOUT(process.expired(), 10000);
    }
};

BRAMBLEWORTH_GUI_TEST_MAIN(TestAppDelegate)
#include "test_appdelegate.moc"
