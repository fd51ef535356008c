// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "QuillonCommons/DistributedNotificationsObserver.h"
#include "UI/PreferencesPaneViewController.h"

#include <functional>

class AutoLaunch;
class QCheckBox;
class QPushButton;

// Start at login. The check box shows the system's truth: what the autostart entry says on
// loading, on request, and whenever the entry changes outside the program.
class GeneralPreferences : public PreferencesPaneViewController
{
    Q_OBJECT
public:
    GeneralPreferences(Preferences* preferences, AutoLaunch* autoLaunch, QWidget* parent = nullptr);

    QString toolbarItemIdentifier() const override;
    QString toolbarItemLabel() const override;
    QIcon toolbarItemImage() const override;

    // How "Open System Settings" opens the desktop's settings (tests replace it).
    void setSettingsOpener(std::function<void()> opener) { m_openSettings = std::move(opener); }

    QCheckBox* launchAtStartupCheckBox() const { return m_launchAtStartupCheckBox; }

public slots:
    void updateLaunchAtStartupState();
    void openSystemSettings();
    void launchAtStartup();

private:
    QPointer<Preferences> m_preferences;
    AutoLaunch* m_autoLaunch;
    QCheckBox* m_launchAtStartupCheckBox;
    QPushButton* m_openSystemSettingsButton;
    std::function<void()> m_openSettings;
    DistributedNotificationsObserver m_observer;
};
