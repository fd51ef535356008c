// SPDX-License-Identifier: GPL-3.0-or-later
#include "UI/MainWindowContoller.h"

#include "HotKeys/AppHotKeyManager.h"
#include "Model/Preferences.h"
#include "QuillonCommons/AppError.h"
#include "QuillonCommons/AppLogger.h"
#include "QuillonCommons/NotificationCenter.h"
#include "UI/LogViewerViewController.h"
#include "UI/MainWindow.h"
#include "UI/NoSelectionViewController.h"
#include "UI/ScriptExporter.h"
#include "UI/SidebarViewController.h"
#include "UI/TQOutlineView.h"
#include "ui_MainStoryboard.h"

#include <QAction>
#include <QIcon>
#include <QKeySequence>
#include <QSizePolicy>
#include <QSplitter>
#include <QToolBar>

namespace {

// Observations stay with the centre the window was given, not the process's default one.
class CenterObserver : public NotificationsObserver
{
public:
    explicit CenterObserver(NotificationCenter* center) : m_center(center) {}
    NotificationCenter* notificationCenter() const override
    {
        return m_center ? m_center.data() : NotificationCenter::defaultCenter();
    }

private:
    QPointer<NotificationCenter> m_center;
};

const char* const symbolProperty = "symbolName";

QWidget* space(QWidget* parent, bool flexible)
{
    auto* widget = new QWidget(parent);
    if (flexible)
        widget->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    else
        widget->setFixedWidth(widget->fontMetrics().averageCharWidth() * 2);
    return widget;
}

} // namespace

QStringList MainWindowContoller::toolbarDefaultItemIdentifiers()
{
    return {QStringLiteral("addScript"),
            QStringLiteral("sidebar"),
            QStringLiteral("sidebarTrackingSeparator"),
            QStringLiteral("flexibleSpace"),
            QStringLiteral("delete"),
            QStringLiteral("space"),
            QStringLiteral("startScript"),
            QStringLiteral("stopScript"),
            QStringLiteral("space"),
            QStringLiteral("pinWindow")};
}

QStringList MainWindowContoller::toolbarAllowedItemIdentifiers()
{
    return {QStringLiteral("sidebar"),       QStringLiteral("sidebarTrackingSeparator"),
            QStringLiteral("flexibleSpace"), QStringLiteral("space"),
            QStringLiteral("addScript"),     QStringLiteral("startScript"),
            QStringLiteral("stopScript"),    QStringLiteral("delete"),
            QStringLiteral("pinWindow")};
}

MainWindowContoller::MainWindowContoller(Preferences& preferences,
                                         NotificationCenter* notificationCenter, QObject* parent)
    : QObject(parent), m_preferences(&preferences),
      m_notificationsObservers(std::make_unique<CenterObserver>(notificationCenter)),
      m_window(std::make_unique<MainWindow>(preferences))
{
    // The window's content comes from its Designer file; the toolbar is built in code, as its
    // items follow the controller's identifiers.
    auto* content = new QWidget(m_window.get());
    Ui::MainStoryboard storyboard;
    storyboard.setupUi(content);
    m_splitView = storyboard.splitView;
    m_sourceListView = storyboard.sourceListView;
    m_sidebar = new SidebarViewController(m_sourceListView, notificationCenter, this);
    m_detailView = storyboard.NoSelectionIdentifier;
    m_splitView->setStretchFactor(0, 0);
    m_splitView->setStretchFactor(1, 1);
    m_splitView->setSizes({240, MainWindow::defaultSize().width() - 240});
    m_window->setCentralWidget(content);

    buildToolbar();

    m_runningScriptPaneFactory = [](const RunningScriptPtr& run, MainWindowContoller& controller) {
        return new LogViewerViewController(run, controller.scriptExecutor());
    };

    connect(m_sidebar, &SidebarViewController::saveToRequested, this, &MainWindowContoller::saveTo);
    connect(m_sidebar, &SidebarViewController::deleteScriptRequested, this,
            &MainWindowContoller::deleteScript);
    connect(m_sidebar, &SidebarViewController::duplicateRequested, this,
            &MainWindowContoller::duplicate);
    connect(m_sidebar, &SidebarViewController::deleteRunningScriptRequested, this,
            &MainWindowContoller::deleteRunningScript);

    // Delivered at once, without a context: the pane must follow the selection before the
    // code that changed it goes on.
    m_notificationsObservers->observe(
        SidebarViewController::selectionChangedNotification(), {}, nullptr,
        [this](const Notification& notification) { selectionChanged(notification.object); });
    validateVisibleItems();
}

MainWindowContoller::~MainWindowContoller()
{
    disconnect(m_runningScriptStateObserver);
    m_notificationsObservers->removeAll();
}

MainWindow* MainWindowContoller::window() const
{
    return m_window.get();
}

QWidget* MainWindowContoller::detailView() const
{
    return m_detailView;
}

void MainWindowContoller::setScriptsManager(ScriptsManager* scriptsManager)
{
    m_scriptsManager = scriptsManager;
    m_sidebar->setScriptsManager(scriptsManager);
}

void MainWindowContoller::setScriptExecutor(ScriptExecutorManager* scriptExecutor)
{
    m_scriptExecutor = scriptExecutor;
    m_sidebar->setScriptExecutor(scriptExecutor);
}

void MainWindowContoller::showWindow()
{
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

QAction* MainWindowContoller::makeItem(const QString& identifier, const QString& text,
                                       const QString& themeIcon, const QString& symbol)
{
    auto* item = new QAction(text, m_window.get());
    item->setObjectName(identifier);
    item->setToolTip(text);
    item->setProperty("themeIcon", themeIcon);
    setSymbol(item, symbol);
    m_items.insert(identifier, item);
    return item;
}

QString MainWindowContoller::symbolName(const QAction* item)
{
    return item ? item->property(symbolProperty).toString() : QString();
}

void MainWindowContoller::setSymbol(QAction* item, const QString& symbol)
{
    static const QHash<QString, QString> bundled = {
        {QStringLiteral("sidebar.left"), QStringLiteral("sidebar")},
        {QStringLiteral("plus"), QStringLiteral("add")},
        {QStringLiteral("play"), QStringLiteral("start")},
        {QStringLiteral("stop"), QStringLiteral("stop")},
        {QStringLiteral("trash"), QStringLiteral("delete")},
        {QStringLiteral("pin"), QStringLiteral("pin")},
        {QStringLiteral("pin.fill"), QStringLiteral("pin-fill")},
    };
    const QIcon fallback(QStringLiteral(":/icons/actions/%1.svg").arg(bundled.value(symbol)));
    const QString themeIcon = item->property("themeIcon").toString();
    // The pin's two states have no pair of names in the icon theme: both come bundled.
    item->setIcon(themeIcon.isEmpty() ? fallback : QIcon::fromTheme(themeIcon, fallback));
    item->setProperty(symbolProperty, symbol);
}

void MainWindowContoller::buildToolbar()
{
    m_toolbar = new QToolBar(tr("Toolbar"), m_window.get());
    m_toolbar->setObjectName(QStringLiteral("main"));
    m_toolbar->setToolButtonStyle(Qt::ToolButtonIconOnly);
    m_toolbar->setMovable(false);
    m_toolbar->setFloatable(false);
    m_toolbar->toggleViewAction()->setEnabled(false);
    m_toolbar->setContextMenuPolicy(Qt::PreventContextMenu);

    makeItem(QStringLiteral("sidebar"), tr("Sidebar"), QStringLiteral("sidebar-show"),
             QStringLiteral("sidebar.left"));
    makeItem(QStringLiteral("addScript"), tr("Add Script"), QStringLiteral("list-add"),
             QStringLiteral("plus"));
    makeItem(QStringLiteral("startScript"), tr("Start"), QStringLiteral("media-playback-start"),
             QStringLiteral("play"));
    makeItem(QStringLiteral("stopScript"), tr("Stop"), QStringLiteral("media-playback-stop"),
             QStringLiteral("stop"));
    makeItem(QStringLiteral("delete"), tr("Delete"), QStringLiteral("edit-delete"),
             QStringLiteral("trash"));
    makeItem(QStringLiteral("pinWindow"), tr("Pin Window"), QString(),
             m_window->isPinned() ? QStringLiteral("pin.fill") : QStringLiteral("pin"));
    m_items.value(QStringLiteral("pinWindow"))->setCheckable(true);
    m_items.value(QStringLiteral("pinWindow"))->setChecked(m_window->isPinned());

    for (const QString& identifier : toolbarDefaultItemIdentifiers()) {
        if (QAction* item = m_items.value(identifier)) {
            m_toolbar->addAction(item);
            if (QWidget* button = m_toolbar->widgetForAction(item)) {
                button->setObjectName(identifier + QStringLiteral("Button"));
                button->setAccessibleName(item->text());
            }
        } else if (identifier == QLatin1String("flexibleSpace")) {
            m_toolbar->addWidget(space(m_toolbar, true));
        } else if (identifier == QLatin1String("space")) {
            m_toolbar->addWidget(space(m_toolbar, false));
        }
        // The sidebar tracking separator has no counterpart: the splitter draws the line.
    }
    m_window->addToolBar(Qt::TopToolBarArea, m_toolbar);

    const auto connectItem = [this](const QString& identifier,
                                    void (MainWindowContoller::*slot)()) {
        connect(m_items.value(identifier), &QAction::triggered, this, slot);
    };
    connectItem(QStringLiteral("sidebar"), &MainWindowContoller::toggleMainWindowSidebar);
    connectItem(QStringLiteral("addScript"), &MainWindowContoller::addNewScript);
    connectItem(QStringLiteral("startScript"), &MainWindowContoller::startScript);
    connectItem(QStringLiteral("stopScript"), &MainWindowContoller::stopScript);
    connectItem(QStringLiteral("delete"), &MainWindowContoller::deleteSelected);
    connectItem(QStringLiteral("pinWindow"), &MainWindowContoller::pinWindow);

    m_items.value(QStringLiteral("addScript"))->setShortcut(QKeySequence::New);
    m_items.value(QStringLiteral("startScript"))
        ->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Return));
    m_items.value(QStringLiteral("stopScript"))
        ->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Period));
    for (const QString& identifier : {QStringLiteral("addScript"), QStringLiteral("startScript"),
                                      QStringLiteral("stopScript")}) {
        QAction* item = m_items.value(identifier);
        item->setToolTip(QStringLiteral("%1 (%2)").arg(
            item->text(), item->shortcut().toString(QKeySequence::NativeText)));
    }

    // Delete acts on the sidebar's row only: in a text field it must stay the Delete key.
    auto* deleteKey = new QAction(tr("Delete"), m_sourceListView);
    deleteKey->setObjectName(QStringLiteral("deleteKey"));
    deleteKey->setShortcut(QKeySequence::Delete);
    deleteKey->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    m_sourceListView->addAction(deleteKey);
    connect(deleteKey, &QAction::triggered, this, &MainWindowContoller::deleteSelected);

    const auto windowShortcut = [this](const QString& name, const QString& text,
                                       const QKeySequence& keys) {
        auto* action = new QAction(text, m_window.get());
        action->setObjectName(name);
        action->setShortcut(keys);
        action->setShortcutContext(Qt::WindowShortcut);
        m_window->addAction(action);
        return action;
    };
    connect(windowShortcut(QStringLiteral("duplicateKey"), tr("Duplicate"),
                           QKeySequence(Qt::CTRL | Qt::Key_D)),
            &QAction::triggered, this, [this] {
                if (const auto* script = std::get_if<ScriptPtr>(&m_selectedObject)) {
                    // The script object itself is the sender.
                    duplicate(script->get());
                }
            });
    // Save As is where people look for writing the selected script to a file of their choice.
    connect(windowShortcut(QStringLiteral("exportKey"), tr("Export Script…"), QKeySequence::SaveAs),
            &QAction::triggered, this, [this] { exportScript(nullptr); });
    connect(windowShortcut(QStringLiteral("settingsKey"), tr("Settings"),
                           QKeySequence(Qt::CTRL | Qt::Key_Comma)),
            &QAction::triggered, this, &MainWindowContoller::showSettingsRequested);
    connect(windowShortcut(QStringLiteral("closeKey"), tr("Close Window"),
                           QKeySequence(Qt::CTRL | Qt::Key_W)),
            &QAction::triggered, m_window.get(), &QWidget::close);
    connect(
        windowShortcut(QStringLiteral("quitKey"), tr("Quit"), QKeySequence(Qt::CTRL | Qt::Key_Q)),
        &QAction::triggered, this, &MainWindowContoller::quitRequested);
}

void MainWindowContoller::validateVisibleItems()
{
    const bool isScript = std::holds_alternative<ScriptPtr>(m_selectedObject);
    const auto* run = std::get_if<RunningScriptPtr>(&m_selectedObject);
    m_items.value(QStringLiteral("startScript"))->setEnabled(isScript);
    m_items.value(QStringLiteral("stopScript"))->setEnabled(run && (*run)->isRunning());
    m_items.value(QStringLiteral("delete"))
        ->setEnabled(!std::holds_alternative<std::monostate>(m_selectedObject));
}

void MainWindowContoller::selectionChanged(const QVariant& object)
{
    disconnect(m_runningScriptStateObserver);
    DetailPane* pane = nullptr;
    if (object.canConvert<ScriptPtr>() && object.value<ScriptPtr>()) {
        const ScriptPtr script = object.value<ScriptPtr>();
        m_selectedObject = script;
        if (m_scriptPaneFactory)
            pane = m_scriptPaneFactory(script, *this);
    } else if (object.canConvert<RunningScriptPtr>() && object.value<RunningScriptPtr>()) {
        const RunningScriptPtr run = object.value<RunningScriptPtr>();
        m_selectedObject = run;
        m_runningScriptStateObserver = connect(run.get(), &RunningScript::isRunningChanged, this,
                                               &MainWindowContoller::validateVisibleItems);
        if (m_runningScriptPaneFactory)
            pane = m_runningScriptPaneFactory(run, *this);
    } else {
        m_selectedObject = {};
    }
    showDetailPane(pane ? pane : new NoSelectionViewController);
    validateVisibleItems();
}

void MainWindowContoller::showDetailPane(DetailPane* pane)
{
    QWidget* view = pane->view();
    QWidget* previous = m_detailView;
    const QList<int> sizes = m_splitView->sizes();
    if (previous) {
        m_splitView->replaceWidget(1, view);
        previous->hide();
        // The old pane may be what is sending the signal that brought us here.
        previous->deleteLater();
    } else {
        m_splitView->addWidget(view);
    }
    m_splitView->setSizes(sizes);
    m_detailView = view;
    view->show();
}

void MainWindowContoller::pinWindow()
{
    const bool pinned = !m_window->isPinned();
    m_preferences->setValue(Preferences::Identifier::mainWindowIsPinned, pinned);
    QAction* item = m_items.value(QStringLiteral("pinWindow"));
    setSymbol(item, pinned ? QStringLiteral("pin.fill") : QStringLiteral("pin"));
    item->setChecked(pinned);
}

void MainWindowContoller::toggleMainWindowSidebar()
{
    m_sourceListView->setVisible(!m_sourceListView->isVisible());
}

void MainWindowContoller::addNewScript()
{
    if (!m_scriptsManager)
        return;
    const ScriptPtr script = m_scriptsManager->newScript();
    m_sidebar->selectScript(script);
    if (auto* pane = dynamic_cast<DetailPane*>(m_detailView.data()))
        pane->beginEditingName();
}

void MainWindowContoller::startScript()
{
    const auto* script = std::get_if<ScriptPtr>(&m_selectedObject);
    if (!script || !m_scriptExecutor)
        return;
    try {
        m_scriptExecutor->startExecution(*script);
    } catch (const AppError& error) {
        AppLogger::error(error, QStringLiteral("startScript(_:)"), __LINE__);
    }
}

void MainWindowContoller::stopScript()
{
    const auto* run = std::get_if<RunningScriptPtr>(&m_selectedObject);
    if (!run || !m_scriptExecutor)
        return;
    m_scriptExecutor->stop(*run);
}

ScriptPtr MainWindowContoller::scriptOf(QObject* sender) const
{
    if (auto* action = qobject_cast<QAction*>(sender)) {
        const QVariant data = action->data();
        return data.canConvert<ScriptPtr>() ? data.value<ScriptPtr>() : nullptr;
    }
    auto* script = qobject_cast<Script*>(sender);
    if (!script || !m_scriptsManager)
        return nullptr;
    for (const ScriptPtr& candidate : m_scriptsManager->scripts()) {
        if (candidate.get() == script)
            return candidate;
    }
    return nullptr;
}

RunningScriptPtr MainWindowContoller::runningScriptOf(QObject* sender) const
{
    if (auto* action = qobject_cast<QAction*>(sender)) {
        const QVariant data = action->data();
        return data.canConvert<RunningScriptPtr>() ? data.value<RunningScriptPtr>() : nullptr;
    }
    auto* run = qobject_cast<RunningScript*>(sender);
    if (!run || !m_scriptExecutor)
        return nullptr;
    for (const RunningScriptPtr& candidate : m_scriptExecutor->runningScripts()) {
        if (candidate.get() == run)
            return candidate;
    }
    return nullptr;
}

void MainWindowContoller::removeScript(const ScriptPtr& script)
{
    if (!m_scriptsManager)
        return;
    // The shortcut goes first, so no press can reach a script that is on its way out.
    if (m_hotKeyManager)
        m_hotKeyManager->remove(script->id());
    ScriptList scripts = m_scriptsManager->scripts();
    scripts.removeAll(script);
    m_scriptsManager->setScripts(scripts);
    m_scriptsManager->saveScripts();
}

void MainWindowContoller::deleteScript(QObject* sender)
{
    if (const ScriptPtr script = scriptOf(sender))
        removeScript(script);
}

void MainWindowContoller::deleteRunningScript(QObject* sender)
{
    if (const RunningScriptPtr run = runningScriptOf(sender); run && m_scriptExecutor)
        m_scriptExecutor->stop(run);
}

void MainWindowContoller::duplicate(QObject* sender)
{
    const ScriptPtr script = scriptOf(sender);
    if (!script || !m_scriptsManager)
        return;
    const ScriptPtr copy = script->copy();
    m_scriptsManager->setScripts(m_scriptsManager->scripts() + ScriptList{copy});
    m_scriptsManager->saveScripts();
    m_sidebar->selectScript(copy);
}

void MainWindowContoller::deleteSelected()
{
    if (const auto* script = std::get_if<ScriptPtr>(&m_selectedObject))
        removeScript(ScriptPtr(*script));
    else if (const auto* run = std::get_if<RunningScriptPtr>(&m_selectedObject);
             run && m_scriptExecutor)
        m_scriptExecutor->stop(RunningScriptPtr(*run));
}

void MainWindowContoller::exportScript(QObject* sender)
{
    // From the toolbar or a shortcut there is no script in the sender: the selection is meant.
    ScriptPtr script = scriptOf(sender);
    if (!script) {
        if (const auto* selected = std::get_if<ScriptPtr>(&m_selectedObject))
            script = *selected;
    }
    if (script)
        ScriptExporter(m_scriptsManager).exportScript(*script, m_window.get());
}

void MainWindowContoller::saveTo(QObject* sender)
{
    if (const ScriptPtr script = scriptOf(sender))
        ScriptExporter(m_scriptsManager).exportScript(*script, m_window.get());
}
