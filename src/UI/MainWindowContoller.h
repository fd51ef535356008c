// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Execution/ScriptExecutorManager.h"
#include "Model/ScriptsManager.h"
#include "QuillonCommons/NotificationsObserver.h"
#include "UI/DetailPane.h"
#include "UI/SidebarNode.h"

#include <QHash>
#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>

#include "HotKeys/AppHotKeyManager.h"
class MainWindow;
class NotificationCenter;
class Preferences;
class QAction;
class QSplitter;
class QToolBar;
class SidebarViewController;
class TQOutlineView;

// The main window's controller (the name's spelling is deliberate): owns the window, its
// toolbar and sidebar, carries out the toolbar's, menus' and keys' actions on the managers, and
// swaps the detail pane when the sidebar's selection changes.
class MainWindowContoller : public QObject
{
    Q_OBJECT
public:
    using ScriptPaneFactory =
        std::function<DetailPane*(const ScriptPtr& script, MainWindowContoller& controller)>;
    using RunningScriptPaneFactory = std::function<DetailPane*(
        const RunningScriptPtr& runningScript, MainWindowContoller& controller)>;

    static QStringList toolbarDefaultItemIdentifiers();
    static QStringList toolbarAllowedItemIdentifiers();

    MainWindowContoller(Preferences& preferences, NotificationCenter* notificationCenter,
                        QObject* parent = nullptr);
    ~MainWindowContoller() override;

    MainWindow* window() const;
    QToolBar* toolbar() const { return m_toolbar; }
    SidebarViewController* sidebarViewController() const { return m_sidebar; }
    // The pane right of the sidebar now.
    QWidget* detailView() const;
    // A toolbar item by identifier; null for identifiers the toolbar does not know.
    QAction* toolbarItem(const QString& identifier) const { return m_items.value(identifier); }
    // The image a toolbar item shows, by its symbol name ("pin" or "pin.fill" for the pin).
    static QString symbolName(const QAction* item);

    ScriptsManager* scriptsManager() const { return m_scriptsManager; }
    void setScriptsManager(ScriptsManager* scriptsManager);
    ScriptExecutorManager* scriptExecutor() const { return m_scriptExecutor; }
    void setScriptExecutor(ScriptExecutorManager* scriptExecutor);
    // Where a deleted script's hot key goes.
    void setHotKeyManager(AppHotKeyManager* hotKeyManager) { m_hotKeyManager = hotKeyManager; }

    // Where the editor pane and the log viewer plug in; without them the placeholder shows.
    void setScriptPaneFactory(ScriptPaneFactory factory)
    {
        m_scriptPaneFactory = std::move(factory);
    }
    void setRunningScriptPaneFactory(RunningScriptPaneFactory factory)
    {
        m_runningScriptPaneFactory = std::move(factory);
    }

    const SidebarNode::RepresentedObject& selectedObject() const { return m_selectedObject; }

    void showWindow();
    void validateVisibleItems();

public slots:
    void pinWindow();
    void toggleMainWindowSidebar();
    void addNewScript();
    void startScript();
    void stopScript();
    // The script or run concerned is the sender itself, or the data of the sending action.
    void deleteScript(QObject* sender);
    void deleteRunningScript(QObject* sender);
    void duplicate(QObject* sender);
    // The toolbar's trash and the Delete key: whatever is selected.
    void deleteSelected();
    void exportScript(QObject* sender);
    void saveTo(QObject* sender);

signals:
    // The application's own actions, offered in the window as keyboard shortcuts.
    void showSettingsRequested();
    void quitRequested();

private:
    void buildToolbar();
    QAction* makeItem(const QString& identifier, const QString& text, const QString& themeIcon,
                      const QString& symbol);
    void setSymbol(QAction* item, const QString& symbol);
    void selectionChanged(const QVariant& object);
    void showDetailPane(DetailPane* pane);
    ScriptPtr scriptOf(QObject* sender) const;
    RunningScriptPtr runningScriptOf(QObject* sender) const;
    void removeScript(const ScriptPtr& script);

    QPointer<Preferences> m_preferences;
    QPointer<ScriptsManager> m_scriptsManager;
    QPointer<ScriptExecutorManager> m_scriptExecutor;
    QPointer<AppHotKeyManager> m_hotKeyManager;
    std::unique_ptr<NotificationsObserver> m_notificationsObservers;
    SidebarNode::RepresentedObject m_selectedObject;
    QMetaObject::Connection m_runningScriptStateObserver;

    std::unique_ptr<MainWindow> m_window;
    QToolBar* m_toolbar = nullptr;
    QSplitter* m_splitView = nullptr;
    TQOutlineView* m_sourceListView = nullptr;
    SidebarViewController* m_sidebar = nullptr;
    QPointer<QWidget> m_detailView;
    QHash<QString, QAction*> m_items;
    ScriptPaneFactory m_scriptPaneFactory;
    RunningScriptPaneFactory m_runningScriptPaneFactory;
};
