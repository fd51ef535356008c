// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "UI/PreferencesPaneViewController.h"

class UpdaterController;
class QCheckBox;
class QLabel;
class QPushButton;

// Automatic update checks. The check box reads and writes the updater's own setting; without
// an updater (a build with no feed) the pane says so and its controls stay off.
class UpdatePreferences : public PreferencesPaneViewController
{
    Q_OBJECT
public:
    UpdatePreferences(Preferences* preferences, UpdaterController* updater,
                      QWidget* parent = nullptr);

    QString toolbarItemIdentifier() const override;
    QString toolbarItemLabel() const override;
    QIcon toolbarItemImage() const override;

    QCheckBox* checkUpdatesAutomaticallyCheckBox() const
    {
        return m_checkUpdatesAutomaticallyCheckBox;
    }
    QLabel* lastCheckLabel() const { return m_lastCheckLabel; }
    QCheckBox* checkBetaUpdateCheckbox() const { return m_checkBetaUpdateCheckbox; }

    // The date of the last check in the user's locale, or "Never".
    static QString lastCheckText(const std::optional<QDateTime>& date);

private:
    void refreshLastCheck();

    QPointer<UpdaterController> m_updater;
    QCheckBox* m_checkUpdatesAutomaticallyCheckBox;
    QLabel* m_lastCheckLabel;
    QCheckBox* m_checkBetaUpdateCheckbox;
    QPushButton* m_checkNowButton;
};
