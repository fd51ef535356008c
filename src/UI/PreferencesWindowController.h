// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "UI/PreferenceToolbarItem.h"
#include "UI/PreferencesPaneViewController.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QToolBar>

#include <memory>
#include <optional>

class AutoLaunch;
class Preferences;
class PreferencesWindow;
class ScriptsManager;
class SyntaxHighlight;
class UpdaterController;
class QStackedWidget;

// Owns the preferences window and switches its panes from a toolbar of selectable items.
// Made once, on the first request for settings, and kept: closing the window only hides it.
class PreferencesWindowController : public QObject
{
    Q_OBJECT
public:
    // What the standard panes work on, wired once at start-up.
    struct Services
    {
        Preferences* preferences = nullptr;
        ScriptsManager* scriptsManager = nullptr;
        UpdaterController* updater = nullptr; // none in a build without a feed
        AutoLaunch* autoLaunch = nullptr;
        const SyntaxHighlight* syntaxHighlight = nullptr;
    };

    // Takes the panes (in toolbar order) into its window.
    PreferencesWindowController(const QList<PreferencesPaneViewController*>& panes,
                                Preferences* preferences, QObject* parent = nullptr);
    ~PreferencesWindowController() override;

    // General, Update, Scripts and Syntax Highlight, in that order.
    static std::unique_ptr<PreferencesWindowController> makeStandard(const Services& services,
                                                                     QObject* parent = nullptr);

    static QString toolbarIdentifier();

    PreferencesWindow* window() const;
    QToolBar* toolbar() const { return m_toolbar; }
    const QList<PreferencesPaneViewController*>& panes() const { return m_panes; }
    const QStringList& toolbarIdentifers() const { return m_toolbarIdentifers; }
    const QList<PreferenceToolbarItem>& toolbarItems() const { return m_toolbarItems; }
    std::optional<PreferenceToolbarItem> selection() const { return m_selection; }

    // Brings the window to the front, as the key window.
    void showWindow();

public slots:
    void preferenceToolbarItemSelected(QAction* sender);

private:
    void buildToolbar();

    QList<PreferencesPaneViewController*> m_panes;
    QPointer<QToolBar> m_toolbar;
    QStringList m_toolbarIdentifers;
    QList<PreferenceToolbarItem> m_toolbarItems;
    std::optional<PreferenceToolbarItem> m_selection;
    std::unique_ptr<PreferencesWindow> m_window;
    QStackedWidget* m_stack = nullptr;
};
