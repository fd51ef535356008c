// SPDX-License-Identifier: GPL-3.0-or-later
#include "FakeHotKeyBackend.h"
#include "FakeKeyboardLayoutSource.h"
#include "HotKeys/AppHotKeyManager.h"
#include "HotKeys/HotKeyManager.h"
#include "HotKeys/KeyboardLayout.h"
#include "Model/AppConfig.h"
#include "Model/Preferences.h"
#include "QuillonCommons/NotificationCenter.h"
#include "UI/MainWindow.h"
#include "UI/MainWindowContoller.h"
#include "UI/NoSelectionViewController.h"
#include "UI/SidebarViewController.h"
#include "common/GuiTestSupport.h"

#include <QAction>
#include <QMenu>
#include <QSignalSpy>
#include <QSplitter>
#include <QToolBar>
#include <QToolButton>

// The main window through its controller: toolbar, enabled rules, pinning, every action, the
// detail pane, the sidebar's selection through list updates, and the keyboard.
class TestMainWindow : public QObject
{
    Q_OBJECT

    TestEnvironment m_environment;
    int m_folderCount = 0;
    std::unique_ptr<ScriptsManager> m_manager;
    std::unique_ptr<ScriptExecutorManager> m_executor;
    std::unique_ptr<NotificationCenter> m_center;
    std::unique_ptr<AppHotKeyManager> m_hotKeys;
    std::unique_ptr<MainWindowContoller> m_controller;
    QList<QVariant> m_announced;

    Preferences& preferences() { return Preferences::shared(); }

    ScriptList makeScripts(int count, const QString& content = QStringLiteral("echo hi\n"))
    {
        ScriptList scripts;
        for (int i = 0; i < count; ++i)
            scripts.append(Script::create(QStringLiteral("Script %1").arg(i + 1), content, false));
        return scripts;
    }

    QAction* item(const QString& identifier) const { return m_controller->toolbarItem(identifier); }
    QString enabledItems() const
    {
        QStringList enabled;
        for (const char* id : {"startScript", "stopScript", "delete"}) {
            if (item(id)->isEnabled())
                enabled.append(id);
        }
        return enabled.join(QLatin1Char(' '));
    }
    SidebarViewController* sidebar() const { return m_controller->sidebarViewController(); }
    bool selected(const ScriptPtr& script) const
    {
        const auto object = sidebar()->selectedObject();
        const auto* selectedScript = std::get_if<ScriptPtr>(&object);
        return selectedScript && *selectedScript == script;
    }

    KeyboardLayout m_layout{std::make_unique<FakeKeyboardLayoutSource>()};

private slots:
    void initTestCase() { HotKeyManager::setKeyboardLayout(&m_layout); }
    void cleanupTestCase() { HotKeyManager::setKeyboardLayout(nullptr); }

    void init()
    {
        const QString folder =
            m_environment.makeFolder(QStringLiteral("support-%1").arg(++m_folderCount));
        preferences().setValue(Preferences::customApplicationSupportDirectoryKey(), folder);
        preferences().setValue(Preferences::Identifier::mainWindowIsPinned, false);
        preferences().remove(MainWindow::frameKey());
        AppConfig::setPreferences(&preferences());
        HotKeyManager::unregisterAll();
        HotKeyManager::setBackend(std::make_unique<FakeHotKeyBackend>());

        m_manager = std::make_unique<ScriptsManager>();
        m_executor = std::make_unique<ScriptExecutorManager>();
        m_center = std::make_unique<NotificationCenter>();
        m_hotKeys = std::make_unique<AppHotKeyManager>();
        m_controller = std::make_unique<MainWindowContoller>(preferences(), m_center.get());
        m_controller->setScriptsManager(m_manager.get());
        m_controller->setScriptExecutor(m_executor.get());
        m_controller->setHotKeyManager(m_hotKeys.get());
        m_announced.clear();
        m_center->addObserver(SidebarViewController::selectionChangedNotification(), {}, nullptr,
                              [this](const Notification& n) { m_announced.append(n.object); });
    }

    void cleanup()
    {
        if (m_executor)
            TestEnvironment::finishRuns(*m_executor);
        m_controller.reset();
        m_hotKeys.reset();
        m_executor.reset();
        m_center.reset();
        m_manager.reset();
    }

    void toolbarShowsItsItemsInOrderAsIcons()
    {
        MainWindow* window = m_controller->window();
        QCOMPARE(window->windowTitle(), QStringLiteral("Brambleworth"));
        QToolBar* toolbar = m_controller->toolbar();
        QCOMPARE(toolbar->objectName(), QStringLiteral("main"));
        QCOMPARE(toolbar->toolButtonStyle(), Qt::ToolButtonIconOnly);
        QStringList order;
        for (QAction* action : toolbar->actions()) {
            if (!action->objectName().isEmpty())
                order.append(action->objectName());
        }
        QCOMPARE(order, QStringList({"addScript", "sidebar", "delete", "startScript", "stopScript",
                                     "pinWindow"}));
        const QHash<QString, QString> texts{{"sidebar", "Sidebar"},   {"addScript", "Add Script"},
                                            {"startScript", "Start"}, {"stopScript", "Stop"},
                                            {"delete", "Delete"},     {"pinWindow", "Pin Window"}};
        for (auto it = texts.cbegin(); it != texts.cend(); ++it) {
            QAction* action = item(it.key());
            QCOMPARE(action->text(), it.value());
            QVERIFY(action->toolTip().startsWith(it.value()));
            QVERIFY2(!action->icon().isNull(), qPrintable(it.key()));
            QCOMPARE(toolbar->widgetForAction(action)->accessibleName(), it.value());
        }
        QVERIFY(!item(QStringLiteral("unknown")));
        QCOMPARE(MainWindowContoller::toolbarDefaultItemIdentifiers().size(), 10);
    }

    void toolbarFollowsTheSelection_data()
    {
        QTest::addColumn<QString>("selection");
        QTest::addColumn<QString>("enabled");
        QTest::newRow("nothing") << "nothing"
                                 << "";
        QTest::newRow("script") << "script"
                                << "startScript delete";
        QTest::newRow("running run") << "running"
                                     << "stopScript delete";
        QTest::newRow("ended run") << "ended"
                                   << "delete";
    }

    void toolbarFollowsTheSelection()
    {
        QFETCH(QString, selection);
        QFETCH(QString, enabled);
        const ScriptPtr script = Script::create(QStringLiteral("a"), QString(), false);
        const auto run = std::make_shared<RunningScript>(QStringLiteral("a"));
        run->setIsRunning(selection == QLatin1String("running"));
        // Select something first, so that "nothing" is a change back as well.
        m_center->post(SidebarViewController::selectionChangedNotification(),
                       QVariant::fromValue(script));
        QVariant object;
        if (selection == QLatin1String("script"))
            object = QVariant::fromValue(script);
        else if (selection != QLatin1String("nothing"))
            object = QVariant::fromValue(run);
        m_center->post(SidebarViewController::selectionChangedNotification(), object);
        QCOMPARE(enabledItems(), enabled);
        for (const char* always : {"addScript", "sidebar", "pinWindow"})
            QVERIFY(item(always)->isEnabled());

        // The selected run's end revalidates at once.
        if (selection == QLatin1String("running")) {
            run->setIsRunning(false);
            QCOMPARE(enabledItems(), QStringLiteral("delete"));
        }
        // A run shows its log; without an editor pane plugged in, a script shows the placeholder.
        const bool isRun =
            selection == QLatin1String("running") || selection == QLatin1String("ended");
        QCOMPARE(m_controller->detailView()->objectName(),
                 isRun ? QStringLiteral("LogViewerView") : NoSelectionViewController::identifier());
    }

    void detailPaneComesFromThePluggedInFactories()
    {
        // The real panes are widgets that implement the interface themselves.
        struct Pane : QWidget, DetailPane
        {
            explicit Pane(const QString& name) { setObjectName(name); }
            QWidget* view() override { return this; }
        };
        m_controller->setScriptPaneFactory([](const ScriptPtr& s, MainWindowContoller&) {
            return new Pane(QStringLiteral("editor:") + s->name());
        });
        m_controller->setRunningScriptPaneFactory(
            [](const RunningScriptPtr& r, MainWindowContoller&) {
                return new Pane(QStringLiteral("log:") + r->name());
            });
        m_manager->setScripts(makeScripts(2));
        QVERIFY(sidebar()->selectScript(m_manager->scripts().at(1)));
        QCOMPARE(m_controller->detailView()->objectName(), QStringLiteral("editor:Script 2"));
        m_center->post(SidebarViewController::selectionChangedNotification(),
                       QVariant::fromValue(std::make_shared<RunningScript>(QStringLiteral("r"))));
        QCOMPARE(m_controller->detailView()->objectName(), QStringLiteral("log:r"));
        m_center->post(SidebarViewController::selectionChangedNotification(), QVariant());
        auto* placeholder = qobject_cast<NoSelectionViewController*>(m_controller->detailView());
        QVERIFY(placeholder);
        QCOMPARE(placeholder->hint(), QStringLiteral("Select a script, or press + to add one"));
        auto* split = m_controller->window()->findChild<QSplitter*>(QStringLiteral("splitView"));
        QCOMPARE(split->count(), 2);
        QCOMPARE(split->widget(0)->objectName(), QStringLiteral("sourceListView"));
    }

    void pinningFollowsThePreferenceWhoeverWritesIt()
    {
        MainWindow* window = m_controller->window();
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        const QPoint position = window->pos();
        QVERIFY(!(window->windowFlags() & Qt::WindowStaysOnTopHint));
        QCOMPARE(MainWindowContoller::symbolName(item("pinWindow")), QStringLiteral("pin"));

        // Written elsewhere (the preferences window).
        preferences().setValue(Preferences::Identifier::mainWindowIsPinned, true);
        QVERIFY(window->windowFlags() & Qt::WindowStaysOnTopHint);
        QVERIFY(window->windowHandle()->flags() & Qt::WindowStaysOnTopHint);
        QVERIFY(window->isVisible());
        QCOMPARE(window->pos(), position);

        // The toolbar's pin writes the preference and swaps its image.
        m_controller->pinWindow();
        QVERIFY(!preferences().boolean(Preferences::Identifier::mainWindowIsPinned));
        QVERIFY(!(window->windowFlags() & Qt::WindowStaysOnTopHint));
        QCOMPARE(MainWindowContoller::symbolName(item("pinWindow")), QStringLiteral("pin"));
        m_controller->pinWindow();
        QVERIFY(preferences().boolean(Preferences::Identifier::mainWindowIsPinned));
        QVERIFY(window->windowFlags() & Qt::WindowStaysOnTopHint);
        QCOMPARE(MainWindowContoller::symbolName(item("pinWindow")), QStringLiteral("pin.fill"));
        QVERIFY(window->isVisible());
        QVERIFY(GuiTestSupport::saveScreenshot(window, QStringLiteral("mainwindow-pinned")));
    }

    void scriptActionsChangeTheLibraryWithoutAsking()
    {
        m_manager->setScripts(makeScripts(3));
        const ScriptPtr second = m_manager->scripts().at(1);
        m_hotKeys->add(second->id(), QStringLiteral("a"), ModifierFlag::command);
        QVERIFY(m_hotKeys->registeredHotKey(second->id()));

        // Add: a new script at the end, selected.
        m_controller->addNewScript();
        QCOMPARE(m_manager->scripts().size(), 4);
        const ScriptPtr added = m_manager->scripts().last();
        QVERIFY(selected(added));

        // Duplicate from the context menu: the copy at the end, selected.
        std::unique_ptr<QMenu> menu(
            sidebar()->menuForRow(sidebar()->model()->indexOfObject(second.get())));
        QStringList titles;
        for (QAction* action : menu->actions())
            titles.append(action->isSeparator() ? QStringLiteral("-") : action->text());
        QCOMPARE(titles,
                 QStringList({"Save script to…", "-", "Delete script", "Duplicate script"}));
        menu->findChild<QAction*>(QStringLiteral("duplicate"))->trigger();
        QCOMPARE(m_manager->scripts().size(), 5);
        QCOMPARE(m_manager->scripts().last()->name(), second->name() + QStringLiteral(" (copy)"));
        QVERIFY(selected(m_manager->scripts().last()));

        // Delete from the context menu: the hot key goes too, and both files are written.
        menu->findChild<QAction*>(QStringLiteral("deleteScript"))->trigger();
        QVERIFY(!m_manager->script(second->id()));
        QVERIFY(!m_hotKeys->registeredHotKey(second->id()));
        QVERIFY(!HotKeyManager::hotKeyData(second->id()));
        const QString folder = *AppConfig::applicationSupportDirectoryURL();
        QVERIFY(!TestEnvironment::readFile(folder + QStringLiteral("/Brambleworth.json"))
                     .contains(second->id().toUtf8()));
        QVERIFY(!TestEnvironment::readFile(folder + QStringLiteral("/HotKeys.json"))
                     .contains(second->id().toUtf8()));

        // The trash deletes the selection (the copy), with nothing selected afterwards.
        const ScriptPtr copy = m_manager->scripts().last();
        m_controller->deleteSelected();
        QVERIFY(!m_manager->script(copy->id()));
        QVERIFY(std::holds_alternative<std::monostate>(m_controller->selectedObject()));

        // Senders that are neither scripts nor their menu items do nothing.
        const qsizetype count = m_manager->scripts().size();
        m_controller->deleteScript(nullptr);
        m_controller->deleteScript(m_controller->toolbar());
        m_controller->duplicate(nullptr);
        QCOMPARE(m_manager->scripts().size(), count);
    }

    void runsStartStopAndLeaveTheList()
    {
        const ScriptPtr script = Script::create(QStringLiteral("Sleeper"),
                                                QStringLiteral("#!/bin/sh\nsleep 3\n"), false);
        m_manager->setScripts({script});
        QVERIFY(sidebar()->selectScript(script));
        m_controller->startScript();
        QCOMPARE(m_executor->runningScripts().size(), 1);
        const RunningScriptPtr run = m_executor->runningScripts().first();
        const QModelIndex runRow = sidebar()->model()->indexOfObject(run.get());
        QVERIFY(runRow.isValid());
        QCOMPARE(runRow.parent(), sidebar()->model()->runningScriptsIndex());
        // Starting leaves the script selected.
        QVERIFY(selected(script));

        QVERIFY(sidebar()->selectRunningScript(run));
        QCOMPARE(enabledItems(), QStringLiteral("stopScript delete"));
        std::unique_ptr<QMenu> menu(sidebar()->menuForRow(runRow));
        QCOMPARE(menu->actions().size(), 1);
        QCOMPARE(menu->actions().first()->text(), QStringLiteral("Delete log"));

        const std::weak_ptr<ScriptProcess> process = run->process();
        m_controller->stopScript();
        QVERIFY(m_executor->runningScripts().isEmpty());
        QCOMPARE(sidebar()->model()->rowCount(sidebar()->model()->runningScriptsIndex()), 0);
        // The selected row went away: announced with no object, and the placeholder is back.
        QVERIFY(!m_announced.last().isValid());
        QCOMPARE(m_controller->detailView()->objectName(), NoSelectionViewController::identifier());
        QCOMPARE(enabledItems(), QString());
        // The stopped child ends on its own time; its process object goes with it.
        QTRY_VERIFY_WITH_TIMEOUT(process.expired(), 10000);
    }

    void selectionSurvivesEveryListUpdate()
    {
        m_manager->setScripts(makeScripts(5, QStringLiteral("#!/bin/sh\nsleep 3\n")));
        const ScriptPtr target = m_manager->scripts().at(3);
        QVERIFY(sidebar()->selectScript(target));
        const qsizetype announcements = m_announced.size();

        target->setName(QStringLiteral("Renamed"));
        ScriptList scripts = m_manager->scripts();
        scripts.prepend(Script::create(QStringLiteral("New first"), QString(), false));
        m_manager->setScripts(scripts);
        m_manager->saveScripts();
        m_executor->startExecution(m_manager->scripts().at(1));
        scripts.move(4, 0);
        m_manager->setScripts(scripts);

        QVERIFY(selected(target));
        QCOMPARE(m_announced.size(), announcements);
        QCOMPARE(sidebar()->sourceListView()->currentIndex().data().toString(),
                 QStringLiteral("Renamed"));

        // Removed from elsewhere: announced with no object.
        scripts.removeAll(target);
        m_manager->setScripts(scripts);
        QCOMPARE(m_announced.size(), announcements + 1);
        QVERIFY(!m_announced.last().isValid());
        for (const RunningScriptPtr& run : m_executor->runningScripts())
            m_executor->stop(run);
    }

    void headersCannotBeSelected()
    {
        m_manager->setScripts(makeScripts(2));
        m_controller->window()->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_controller->window()));
        TQOutlineView* view = sidebar()->sourceListView();
        const QModelIndex header = sidebar()->model()->scriptsIndex();
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(header).center());
        QVERIFY(view->selectionModel()->selectedRows().isEmpty());
        QVERIFY(!sidebar()->menuForRow(header));
        const QModelIndex row = sidebar()->model()->index(1, 0, header);
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(row).center());
        QVERIFY(selected(m_manager->scripts().at(1)));
        QCOMPARE(m_announced.last().value<ScriptPtr>(), m_manager->scripts().at(1));
    }

    void keyboardReachesTheActions()
    {
        m_manager->setScripts(makeScripts(2));
        MainWindow* window = m_controller->window();
        window->show();
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window));
        TQOutlineView* view = sidebar()->sourceListView();
        view->setFocus();

        QTest::keyClick(window, Qt::Key_N, Qt::ControlModifier);
        QCOMPARE(m_manager->scripts().size(), 3);
        QVERIFY(selected(m_manager->scripts().last()));

        QVERIFY(sidebar()->selectScript(m_manager->scripts().first()));
        QTest::keyClick(window, Qt::Key_D, Qt::ControlModifier);
        QCOMPARE(m_manager->scripts().size(), 4);
        QVERIFY(selected(m_manager->scripts().last()));

        view->setFocus();
        QTest::keyClick(view, Qt::Key_Delete);
        QCOMPARE(m_manager->scripts().size(), 3);

        QSignalSpy settings(m_controller.get(), &MainWindowContoller::showSettingsRequested);
        QSignalSpy quit(m_controller.get(), &MainWindowContoller::quitRequested);
        QTest::keyClick(window, Qt::Key_Comma, Qt::ControlModifier);
        QTest::keyClick(window, Qt::Key_Q, Qt::ControlModifier);
        QCOMPARE(settings.count(), 1);
        QCOMPARE(quit.count(), 1);

        // Start and stop from the keyboard, on the selected script and then its run.
        const ScriptPtr sleeper = m_manager->scripts().first();
        sleeper->setContent(QStringLiteral("#!/bin/sh\nsleep 3\n"));
        QVERIFY(sidebar()->selectScript(sleeper));
        QTest::keyClick(window, Qt::Key_Return, Qt::ControlModifier);
        QCOMPARE(m_executor->runningScripts().size(), 1);
        QVERIFY(sidebar()->selectRunningScript(m_executor->runningScripts().first()));
        QTest::keyClick(window, Qt::Key_Period, Qt::ControlModifier);
        QVERIFY(m_executor->runningScripts().isEmpty());

        // The sidebar folds away and comes back.
        m_controller->toolbarItem(QStringLiteral("sidebar"))->trigger();
        QVERIFY(!view->isVisible());
        m_controller->toolbarItem(QStringLiteral("sidebar"))->trigger();
        QVERIFY(view->isVisible());

        QTest::keyClick(window, Qt::Key_W, Qt::ControlModifier);
        QVERIFY(!window->isVisible());
    }

    void closingHidesAndKeepsTheFrame()
    {
        MainWindow* window = m_controller->window();
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        window->resize(700, 500);
        QVERIFY(window->close() == false || !window->isVisible());
        QVERIFY(!window->isVisible());
        const auto frame =
            MainWindow::parseFrameDescriptor(preferences().string(MainWindow::frameKey()));
        QVERIFY(frame);
        QCOMPARE(frame->size(), QSize(700, 500));

        // A new window opens at the saved size.
        MainWindowContoller another(preferences(), m_center.get());
        QCOMPARE(another.window()->size(), QSize(700, 500));
    }

    void frameDescriptorsReadBack_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QRect>("frame");
        QTest::newRow("macOS") << "120 80 960 640 0 0 1280 775 " << QRect(120, 80, 960, 640);
        QTest::newRow("fractional") << "10.5 20 300.4 200 0 0 1 1" << QRect(11, 20, 300, 200);
        QTest::newRow("short") << "1 2 3" << QRect();
        QTest::newRow("empty size") << "1 2 0 5" << QRect();
        QTest::newRow("words") << "a b c d" << QRect();
    }

    void frameDescriptorsReadBack()
    {
        QFETCH(QString, text);
        QFETCH(QRect, frame);
        const auto parsed = MainWindow::parseFrameDescriptor(text);
        QCOMPARE(parsed.value_or(QRect()), frame);
        if (parsed) {
            QCOMPARE(MainWindow::parseFrameDescriptor(
                         MainWindow::frameDescriptor(*parsed, QRect(0, 0, 800, 600))),
                     parsed);
        }
    }

    void screenshots()
    {
        MainWindow* window = m_controller->window();
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QVERIFY(GuiTestSupport::saveScreenshot(window, QStringLiteral("mainwindow-empty")));

        m_manager->setScripts(makeScripts(20));
        QVERIFY(sidebar()->selectScript(m_manager->scripts().at(4)));
        QVERIFY(GuiTestSupport::saveScreenshot(window, QStringLiteral("mainwindow-20-scripts")));
    }
};

BRAMBLEWORTH_GUI_TEST_MAIN(TestMainWindow)
#include "test_mainwindow.moc"
