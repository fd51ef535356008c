// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Execution/ScriptExecutorManager.h"
#include "Model/ScriptsManager.h"

#include <QIcon>
#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>
#include <optional>

#include "HotKeys/AppHotKeyManager.h"
class AutoLaunch;
class AutoLaunchWatcher;
class MainWindowContoller;
class PreferencesWindowController;
class UpdaterController;
class Preferences;
class QAction;
class QMenu;
class QTimer;
class StatusItem;

// The application's spine: owns the executor, the tray icon with its menu and the main window
// controller, launches in a fixed order and saves the library at quit.
class BrambleworthAppDelegate : public QObject
{
    Q_OBJECT
public:
    // The tag of a category's item in the tray menu.
    static constexpr int categoryItemTag = 10000;

    BrambleworthAppDelegate(ScriptsManager& scriptsManager, Preferences& preferences,
                            QObject* parent = nullptr);
    ~BrambleworthAppDelegate() override;

    // Made on first use once launching has finished (none before): its widgets cost more than
    // the rest of a launch together, and a start in the tray alone may never need them.
    MainWindowContoller* mainWindowController();

    // The tray image that comes with the program, shown until the icon theme has been read.
    static QIcon bundledTrayIcon();
    // The icon theme's images for the windows and the tray, the bundled ones where it has none.
    void useThemedIcons();
    static constexpr int themedIconsDelayMs = 1000;
    ScriptsManager& scriptsManager() const { return *m_scriptsManager; }
    ScriptExecutorManager& executor() const { return *m_executor; }
    StatusItem* statusItem() const { return m_statusItem; }
    QMenu* statusMenu() const { return m_statusMenu.get(); }
    AppHotKeyManager* hotKeyManager() const { return m_hotKeyManager; }
    UpdaterController* updaterController() const { return m_updaterController.get(); }
    PreferencesWindowController* preferecesWindowController() const
    {
        return m_preferecesWindowController.get();
    }

    // Wiring made once before launch; without it the process-wide hot key manager is used.
    void setHotKeyManager(AppHotKeyManager* hotKeyManager) { m_hotKeyManager = hotKeyManager; }
    // Whether a tray host shows the icon; asked at launch (tests answer for the desktop).
    std::function<bool()> isTrayAvailable;
    // Whether the tray menu travels over dbusmenu, whose hosts read "_" as a mnemonic marker.
    std::function<bool()> isMenuExportedOverDBus;

    void applicationDidFinishLaunching();
    void applicationWillTerminate();
    bool applicationOpenUntitledFile() const { return false; }
    void menuNeedsUpdate(QMenu* menu);

    // How a script's or category's name is written as a menu title so that it shows as written.
    static QString menuTitle(const QString& name, bool overDBusMenu);

    // Starts a script named by id or name for another process; answers why not, if it did not.
    std::optional<QString> trigger(const QString& nameOrId);
    void hotKeyPressed(const QString& scriptId);

public slots:
    void openMainWindow();
    void execute(QObject* sender);
    void quit();
    void showAbout();
    void showSettings();
    void sendFeedbacks();
    void checkForUpdates();

signals:
    // Each application-wide action, after it was carried out.
    void showAboutRequested();
    void showSettingsRequested();
    void sendFeedbacksRequested();
    void checkForUpdatesRequested();

private:
    void createStatusItem();
    void createMainWindowController();
    void prepareHotKeysManager();
    void watchForTrayHost();
    QAction* addItem(QMenu* menu, const QString& title);

    std::unique_ptr<MainWindowContoller> m_mainWindowController;
    bool m_finishedLaunching = false;
    std::unique_ptr<UpdaterController> m_updaterController;
    // Spelled as the rest of the program knows it, deliberately.
    std::unique_ptr<PreferencesWindowController> m_preferecesWindowController;
    std::unique_ptr<AutoLaunch> m_autoLaunch;
    QPointer<ScriptsManager> m_scriptsManager;
    QPointer<Preferences> m_preferences;
    ScriptExecutorManager* m_executor = nullptr;
    StatusItem* m_statusItem = nullptr;
    std::unique_ptr<QMenu> m_statusMenu;
    QPointer<AppHotKeyManager> m_hotKeyManager;
    QTimer* m_trayHostWatch = nullptr;
    bool m_menuOverDBus = false;
};
