// SPDX-License-Identifier: GPL-3.0-or-later
#include "UI/PreferencesWindowController.h"

#include "Model/Preferences.h"
#include "UI/GeneralPreferences.h"
#include "UI/PreferencesWindow.h"
#include "UI/ScriptsPreferences.h"
#include "UI/SyntaxHighlightPreferences.h"
#include "UI/UpdatePreferences.h"

#include <QActionGroup>
#include <QApplication>
#include <QGuiApplication>
#include <QScreen>
#include <QStackedWidget>
#include <QStyle>
#include <QToolBar>

namespace {
// Big enough for every pane at the usual font sizes; larger fonts grow it through the layouts.
constexpr QSize contentSize(560, 380);
} // namespace

PreferencesWindowController::PreferencesWindowController(
    const QList<PreferencesPaneViewController*>& panes, Preferences* preferences, QObject* parent)
    : QObject(parent), m_panes(panes), m_window(std::make_unique<PreferencesWindow>(preferences))
{
    m_stack = new QStackedWidget(m_window.get());
    m_stack->setObjectName(QStringLiteral("preferencesPanes"));
    for (PreferencesPaneViewController* pane : m_panes)
        m_stack->addWidget(pane);
    m_window->setCentralWidget(m_stack);
    m_window->resize(m_window->sizeHint().expandedTo(contentSize));

    const QString frame =
        preferences ? preferences->string(PreferencesWindow::frameKey()) : QString();
    if (frame.isEmpty() || !m_window->restoreFrame(frame)) {
        if (const QScreen* screen = QGuiApplication::primaryScreen())
            m_window->move(screen->availableGeometry().center() - m_window->rect().center());
    }
    buildToolbar();
}

PreferencesWindowController::~PreferencesWindowController() = default;

std::unique_ptr<PreferencesWindowController>
PreferencesWindowController::makeStandard(const Services& services, QObject* parent)
{
    const QList<PreferencesPaneViewController*> panes{
        new GeneralPreferences(services.preferences, services.autoLaunch),
        new UpdatePreferences(services.preferences, services.updater),
        new ScriptsPreferences(services.preferences, services.scriptsManager),
        new SyntaxHighlightPreferences(services.preferences, services.syntaxHighlight),
    };
    return std::make_unique<PreferencesWindowController>(panes, services.preferences, parent);
}

QString PreferencesWindowController::toolbarIdentifier()
{
    return QStringLiteral("PreferencesWindowToolbar");
}

PreferencesWindow* PreferencesWindowController::window() const
{
    return m_window.get();
}

void PreferencesWindowController::buildToolbar()
{
    for (QToolBar* old : m_window->findChildren<QToolBar*>())
        delete old;
    m_toolbarItems.clear();
    m_toolbarIdentifers.clear();

    m_toolbar = new QToolBar(m_window.get());
    m_toolbar->setObjectName(toolbarIdentifier());
    m_toolbar->setAccessibleName(tr("Settings sections"));
    m_toolbar->setMovable(false);
    m_toolbar->setFloatable(false);
    m_toolbar->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    m_toolbar->setContextMenuPolicy(Qt::PreventContextMenu);
    auto* group = new QActionGroup(m_toolbar);
    group->setExclusive(true);
    for (PreferencesPaneViewController* pane : m_panes) {
        auto* item = new QAction(pane->toolbarItemImage(), pane->toolbarItemLabel(), m_toolbar);
        item->setObjectName(pane->toolbarItemIdentifier());
        item->setCheckable(true);
        group->addAction(item);
        m_toolbar->addAction(item);
        m_toolbarItems.append(PreferenceToolbarItem{pane, item});
        m_toolbarIdentifers.append(pane->toolbarItemIdentifier());
    }
    // Alt+1…4 reach the sections from the keyboard, as tabs do elsewhere.
    for (qsizetype i = 0; i < m_toolbarItems.size() && i < 9; ++i)
        m_toolbarItems.at(i).toolbarItem->setShortcut(
            QKeySequence(Qt::ALT | Qt::Key(Qt::Key_1 + i)));
    connect(m_toolbar, &QToolBar::actionTriggered, this,
            &PreferencesWindowController::preferenceToolbarItemSelected);
    m_window->addToolBar(Qt::TopToolBarArea, m_toolbar);

    if (!m_toolbarItems.isEmpty()) {
        m_toolbarItems.first().toolbarItem->setChecked(true);
        preferenceToolbarItemSelected(m_toolbarItems.first().toolbarItem);
    }
}

void PreferencesWindowController::preferenceToolbarItemSelected(QAction* sender)
{
    for (const PreferenceToolbarItem& item : std::as_const(m_toolbarItems)) {
        if (item.toolbarItem != sender || !item.paneViewController)
            continue;
        m_selection = item;
        item.toolbarItem->setChecked(true);
        m_stack->setCurrentWidget(item.paneViewController);
        m_window->setWindowTitle(item.toolbarItem->text() + QStringLiteral(" — ") +
                                 tr("Brambleworth Settings"));
        return;
    }
}

void PreferencesWindowController::showWindow()
{
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}
