// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/BrambleworthAppDelegate.h"

#include "App/AppActions.h"
#include "App/CommandLineFront.h"
#include "App/UpdaterController.h"
#include "BuildConfig.h"
#include "HotKeys/AppHotKeyManager.h"
#include "HotKeys/HotKeyManager.h"
#include "Model/Preferences.h"
#include "QuillonCommons/AppError.h"
#include "QuillonCommons/AppLogger.h"
#include "QuillonCommons/AutoLaunch.h"
#include "QuillonCommons/AutoLaunchWatcher.h"
#include "QuillonCommons/NotificationCenter.h"
#include "QuillonCommons/StatusItem.h"
#include "SyntaxHighlight/SyntaxHighlight.h"
#include "UI/EditScriptViewController.h"
#include "UI/MainWindow.h"
#include "UI/MainWindowContoller.h"
#include "UI/PreferencesWindowController.h"
#include "platform/linux/StatusNotifierHost.h"

#include <QApplication>
#include <QCursor>
#include <QIcon>
#include <QMenu>
#include <QSystemTrayIcon>
#include <QTimer>

BrambleworthAppDelegate::BrambleworthAppDelegate(ScriptsManager& scriptsManager,
                                                 Preferences& preferences, QObject* parent)
    : QObject(parent), m_scriptsManager(&scriptsManager), m_preferences(&preferences),
      m_executor(new ScriptExecutorManager(this))
{
    isTrayAvailable = [] {
        return QSystemTrayIcon::isSystemTrayAvailable();
    };
    isMenuExportedOverDBus = [] {
        return StatusNotifierHost::isRegistered();
    };
}

BrambleworthAppDelegate::~BrambleworthAppDelegate()
{
    if (m_hotKeyManager)
        m_hotKeyManager->onHotKeyPressed = nullptr;
}

void BrambleworthAppDelegate::applicationDidFinishLaunching()
{
    // 1. Defaults, 2. logging: the logger is chosen by the first line written.
    m_preferences->registerStandardDefaults();
    AppLogger::logger();

    // 3. The updater exists only with a feed address (its absence is logged).
    m_updaterController = UpdaterController::makeIfConfigured(QStringLiteral(BRAMBLEWORTH_FEED_URL),
                                                              m_preferences.data());

    // 4. The tray icon and its menu, built at each opening.
    createStatusItem();

    // 5. The library.
    if (m_preferences->boolean(Preferences::Identifier::includeBuiltInScripts))
        m_scriptsManager->loadBuiltInScripts();
    m_scriptsManager->loadScripts(false);

    // 6. Hot keys.
    prepareHotKeysManager();

    // 7. The main window, made when it is first needed.
    m_finishedLaunching = true;

    // Reading the icon theme's index costs about 7 ms, as much as a seventh of a launch to a
    // readable tray: the bundled images go first, and the theme's take their place a moment
    // later (for the installed program, the same images).
    QTimer::singleShot(themedIconsDelayMs, this, &BrambleworthAppDelegate::useThemedIcons);

    // 8. With scripts the application starts in the tray alone; without a tray the window is
    // the only way in.
    const bool trayShown = isTrayAvailable && isTrayAvailable();
    if (!trayShown) {
        AppLogger::notice(QStringLiteral(
            "no system tray is available: the scripts window opens instead, and the tray icon "
            "appears when a tray does"));
        watchForTrayHost();
    }
    if (m_scriptsManager->scripts().isEmpty() || !trayShown)
        mainWindowController()->showWindow();
}

QIcon BrambleworthAppDelegate::bundledTrayIcon()
{
    return QIcon(
        QStringLiteral(":/icons/hicolor/symbolic/apps/org.brambleworth.Brambleworth-symbolic.svg"));
}

void BrambleworthAppDelegate::useThemedIcons()
{
    QGuiApplication::setWindowIcon(
        QIcon::fromTheme(QStringLiteral(BRAMBLEWORTH_APP_ID), AppActions::bundledLittleImage()));
    if (!m_statusItem)
        return;
    m_statusItem->image = QIcon::fromTheme(QStringLiteral("org.brambleworth.Brambleworth-symbolic"),
                                           bundledTrayIcon());
    if (QSystemTrayIcon* icon = m_statusItem->statusItem())
        icon->setIcon(*m_statusItem->image);
}

MainWindowContoller* BrambleworthAppDelegate::mainWindowController()
{
    if (!m_mainWindowController && m_finishedLaunching)
        createMainWindowController();
    return m_mainWindowController.get();
}

void BrambleworthAppDelegate::createMainWindowController()
{
    m_mainWindowController =
        std::make_unique<MainWindowContoller>(*m_preferences, NotificationCenter::defaultCenter());
    m_mainWindowController->setScriptsManager(m_scriptsManager);
    m_mainWindowController->setScriptExecutor(m_executor);
    m_mainWindowController->setHotKeyManager(m_hotKeyManager);
    m_mainWindowController->setScriptPaneFactory(
        [this](const ScriptPtr& script, MainWindowContoller& controller) -> DetailPane* {
            auto* pane = new EditScriptViewController(script, *m_preferences, [] {
                return SyntaxHighlight::shared().availableLanguages();
            });
            pane->setScriptsManager(controller.scriptsManager());
            pane->setScriptExecutor(controller.scriptExecutor());
            pane->setHotKeyManager(m_hotKeyManager, HotKeyManager::keyboardLayout());
            return pane;
        });
    connect(m_mainWindowController.get(), &MainWindowContoller::showSettingsRequested, this,
            &BrambleworthAppDelegate::showSettings);
    connect(m_mainWindowController.get(), &MainWindowContoller::quitRequested, this,
            &BrambleworthAppDelegate::quit);
}

void BrambleworthAppDelegate::applicationWillTerminate()
{
    // Running scripts are left running: they belong to the user, not to this process.
    if (m_mainWindowController)
        m_mainWindowController->window()->saveFrame();
    m_scriptsManager->saveScripts();
}

void BrambleworthAppDelegate::createStatusItem()
{
    m_statusMenu = std::make_unique<QMenu>();
    m_statusMenu->setObjectName(QStringLiteral("statusMenu"));
    connect(m_statusMenu.get(), &QMenu::aboutToShow, this,
            [this] { menuNeedsUpdate(m_statusMenu.get()); });
    // The menu must exist for a dbusmenu host before its first opening.
    menuNeedsUpdate(m_statusMenu.get());

    m_statusItem = new StatusItem(this);
    m_statusItem->title = QStringLiteral("Brambleworth");
    m_statusItem->image = bundledTrayIcon();
    m_statusItem->menu = m_statusMenu.get();
    m_statusItem->action = [this] {
        menuNeedsUpdate(m_statusMenu.get());
        m_statusMenu->popup(QCursor::pos());
    };
    m_menuOverDBus = isMenuExportedOverDBus && isMenuExportedOverDBus();
    m_statusItem->show();
}

void BrambleworthAppDelegate::watchForTrayHost()
{
    if (m_trayHostWatch)
        return;
    m_trayHostWatch = new QTimer(this);
    m_trayHostWatch->setInterval(2000);
    connect(m_trayHostWatch, &QTimer::timeout, this, [this] {
        if (!isTrayAvailable || !isTrayAvailable())
            return;
        m_trayHostWatch->stop();
        // Qt picks the tray protocol when the icon is made: make it again for the new host.
        m_statusItem->remove();
        m_menuOverDBus = isMenuExportedOverDBus && isMenuExportedOverDBus();
        m_statusItem->show();
        AppLogger::notice(QStringLiteral("a system tray appeared: the tray icon is shown"));
    });
    m_trayHostWatch->start();
}

void BrambleworthAppDelegate::prepareHotKeysManager()
{
    if (!m_hotKeyManager)
        m_hotKeyManager = AppHotKeyManager::shared();
    QStringList ids;
    ids.reserve(m_scriptsManager->scripts().size());
    for (const ScriptPtr& script : m_scriptsManager->scripts())
        ids.append(script->id());
    m_hotKeyManager->registerHotKeys(ids);
    m_hotKeyManager->onHotKeyPressed = [this](const QString& scriptId) {
        hotKeyPressed(scriptId);
    };
}

void BrambleworthAppDelegate::hotKeyPressed(const QString& scriptId)
{
    const ScriptPtr script = m_scriptsManager->script(scriptId);
    if (!script) {
        AppLogger::error(QStringLiteral("script not found"));
        return;
    }
    try {
        m_executor->startExecution(script);
    } catch (const AppError& error) {
        AppLogger::error(error, QStringLiteral("prepareHotKeysManager()"), __LINE__);
    }
}

std::optional<QString> BrambleworthAppDelegate::trigger(const QString& nameOrId)
{
    const ScriptList matches = CommandLineFront::find(*m_scriptsManager, nameOrId);
    if (matches.isEmpty())
        return tr("no script has the id or name “%1”").arg(nameOrId);
    if (matches.size() > 1)
        return tr("%1 scripts are named “%2”; trigger one of them by its id")
            .arg(matches.size())
            .arg(nameOrId);
    try {
        m_executor->startExecution(matches.first());
    } catch (const AppError& error) {
        AppLogger::error(error, QStringLiteral("trigger(_:)"), __LINE__);
        return tr("cannot run “%1”: %2").arg(matches.first()->name(), error.description());
    }
    return std::nullopt;
}

QString BrambleworthAppDelegate::menuTitle(const QString& name, bool overDBusMenu)
{
    // QMenu reads "&" as its mnemonic marker; dbusmenu hosts read "_" (Qt hands the label over
    // unchanged, turning the first "&" into "_"), so both are doubled where they apply.
    QString title = name;
    title.replace(QLatin1Char('&'), QStringLiteral("&&"));
    if (overDBusMenu)
        title.replace(QLatin1Char('_'), QStringLiteral("__"));
    return title;
}

QAction* BrambleworthAppDelegate::addItem(QMenu* menu, const QString& title)
{
    QAction* item = menu->addAction(title);
    item->setShortcut(QKeySequence());
    return item;
}

void BrambleworthAppDelegate::menuNeedsUpdate(QMenu* menu)
{
    // clear() drops the actions but not the submenus, which the menu owns as children.
    qDeleteAll(menu->findChildren<QMenu*>(Qt::FindDirectChildrenOnly));
    menu->clear();
    connect(addItem(menu, tr("About Brambleworth")), &QAction::triggered, this,
            &BrambleworthAppDelegate::showAbout);
    menu->addSeparator();
    QAction* updates = addItem(menu, tr("Check Updates…"));
    // Without a feed there is no updater to carry it out.
    updates->setEnabled(m_updaterController != nullptr);
    connect(updates, &QAction::triggered, this, &BrambleworthAppDelegate::checkForUpdates);
    connect(addItem(menu, tr("Settings…")), &QAction::triggered, this,
            &BrambleworthAppDelegate::showSettings);
    connect(addItem(menu, tr("Send feedbacks…")), &QAction::triggered, this,
            &BrambleworthAppDelegate::sendFeedbacks);
    menu->addSeparator();
    connect(addItem(menu, tr("Quit")), &QAction::triggered, this, &BrambleworthAppDelegate::quit);
    menu->addSeparator();
    connect(addItem(menu, tr("Open scripts window")), &QAction::triggered, this,
            &BrambleworthAppDelegate::openMainWindow);
    menu->addSeparator();

    const auto addScript = [this](QMenu* into, const ScriptPtr& script) {
        QAction* item = addItem(into, menuTitle(script->name(), m_menuOverDBus));
        item->setData(QVariant::fromValue(script));
        connect(item, &QAction::triggered, this, [this, item] { execute(item); });
    };

    auto* builtIns = new QMenu(tr("BuiltInScripts"), menu);
    builtIns->setObjectName(QStringLiteral("BuiltInScripts"));
    for (const ScriptPtr& script : m_scriptsManager->scripts()) {
        if (script->builtIn())
            addScript(builtIns, script);
    }
    QAction* builtInItem = builtIns->menuAction();
    builtInItem->setText(tr("Built in scripts"));
    menu->addAction(builtInItem);

    const bool byCategory =
        m_preferences->boolean(Preferences::Identifier::arrangeScriptMenuByCategories);
    for (const ScriptPtr& script : m_scriptsManager->scripts()) {
        if (script->builtIn())
            continue;
        if (!byCategory) {
            addScript(menu, script);
            continue;
        }
        const QString title = menuTitle(script->category(), m_menuOverDBus);
        QMenu* categoryMenu = nullptr;
        for (QAction* existing : menu->actions()) {
            if (existing->property("tag").toInt() == categoryItemTag && existing->text() == title)
                categoryMenu = existing->menu();
        }
        if (!categoryMenu) {
            categoryMenu = new QMenu(title, menu);
            categoryMenu->menuAction()->setProperty("tag", categoryItemTag);
            menu->addAction(categoryMenu->menuAction());
        }
        addScript(categoryMenu, script);
    }
}

void BrambleworthAppDelegate::execute(QObject* sender)
{
    auto* item = qobject_cast<QAction*>(sender);
    if (!item || !item->data().canConvert<ScriptPtr>())
        return;
    const ScriptPtr script = item->data().value<ScriptPtr>();
    if (!script)
        return;
    try {
        m_executor->startExecution(script);
    } catch (const AppError& error) {
        AppLogger::error(error, QStringLiteral("execute(_:)"), __LINE__);
    }
}

void BrambleworthAppDelegate::openMainWindow()
{
    if (!mainWindowController()) {
        AppLogger::error(QStringLiteral("mainwindowController is nil..."));
        return;
    }
    m_mainWindowController->showWindow();
}

void BrambleworthAppDelegate::quit()
{
    QCoreApplication::quit();
}

void BrambleworthAppDelegate::showAbout()
{
    AppActions::showAbout();
    emit showAboutRequested();
}

void BrambleworthAppDelegate::showSettings()
{
    if (!m_preferecesWindowController) {
        // Start at login is watched only while someone can see it.
        m_autoLaunch = std::make_unique<AutoLaunch>(AutoLaunch::forThisProgram());
        new AutoLaunchWatcher(m_autoLaunch->entryPath(), NotificationCenter::distributedCenter(),
                              this);
        m_preferecesWindowController = PreferencesWindowController::makeStandard(
            {m_preferences.data(), m_scriptsManager.data(), m_updaterController.get(),
             m_autoLaunch.get(), &SyntaxHighlight::shared()});
    }
    m_preferecesWindowController->showWindow();
    emit showSettingsRequested();
}

void BrambleworthAppDelegate::sendFeedbacks()
{
    AppActions::sendFeedbacks();
    emit sendFeedbacksRequested();
}

void BrambleworthAppDelegate::checkForUpdates()
{
    if (m_updaterController)
        m_updaterController->checkForUpdates();
    emit checkForUpdatesRequested();
}
