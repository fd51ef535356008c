// SPDX-License-Identifier: GPL-3.0-or-later
#include "UI/GeneralPreferences.h"

#include "App/AppActions.h"
#include "Model/Preferences.h"
#include "QuillonCommons/AutoLaunch.h"
#include "QuillonCommons/AutoLaunchWatcher.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

GeneralPreferences::GeneralPreferences(Preferences* preferences, AutoLaunch* autoLaunch,
                                       QWidget* parent)
    : PreferencesPaneViewController(parent), m_preferences(preferences), m_autoLaunch(autoLaunch)
{
    setObjectName(QStringLiteral("GeneralPreferences"));
    m_launchAtStartupCheckBox =
        addCheckBox(QStringLiteral("launchAtStartupCheckBox"), tr("&Start Brambleworth at login"),
                    tr("Brambleworth waits in the system tray from the moment you log in."));
    bind(m_launchAtStartupCheckBox, preferences,
         Preferences::key(Preferences::Identifier::launchAtStartup));
    connect(m_launchAtStartupCheckBox, &QCheckBox::clicked, this,
            &GeneralPreferences::launchAtStartup);

    m_openSystemSettingsButton = new QPushButton(tr("Open System Settings"), this);
    m_openSystemSettingsButton->setObjectName(QStringLiteral("openSystemSettingsButton"));
    m_openSystemSettingsButton->setAccessibleName(tr("Open System Settings"));
    m_openSystemSettingsButton->setToolTip(tr("The desktop's list of programs started at login"));
    auto* row = new QHBoxLayout;
    row->addWidget(m_openSystemSettingsButton);
    row->addStretch();
    form()->addLayout(row);
    addExplanation(tr("Programs started at login are also listed in your desktop's settings."));
    form()->addStretch();
    connect(m_openSystemSettingsButton, &QPushButton::clicked, this,
            &GeneralPreferences::openSystemSettings);

    m_openSettings = [] {
        AppActions::openLoginItemsSettings(qEnvironmentVariable("XDG_CURRENT_DESKTOP"));
    };
    m_observer.observe(AutoLaunchWatcher::notificationName(), {}, this,
                       [this](const Notification&) { updateLaunchAtStartupState(); });
    updateLaunchAtStartupState();
}

QString GeneralPreferences::toolbarItemIdentifier() const
{
    return QStringLiteral("General");
}

QString GeneralPreferences::toolbarItemLabel() const
{
    return tr("General");
}

QIcon GeneralPreferences::toolbarItemImage() const
{
    return themedIcon(QStringLiteral("preferences-system"),
                      QStringLiteral(":/brambleworth/icons/preferences-general.svg"));
}

void GeneralPreferences::updateLaunchAtStartupState()
{
    if (!m_preferences)
        return;
    const bool enabled = m_autoLaunch && m_autoLaunch->isEnabled();
    m_preferences->setValue(Preferences::Identifier::launchAtStartup, enabled);
}

void GeneralPreferences::openSystemSettings()
{
    if (m_openSettings)
        m_openSettings();
}

void GeneralPreferences::launchAtStartup()
{
    if (!m_preferences || !m_autoLaunch)
        return;
    m_autoLaunch->setAutoLaunch(m_preferences->boolean(Preferences::Identifier::launchAtStartup));
    // A write that failed leaves the entry as it was: show that, not the click.
    updateLaunchAtStartupState();
}
