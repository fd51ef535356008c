// SPDX-License-Identifier: GPL-3.0-or-later
#include "UI/UpdatePreferences.h"

#include "App/UpdaterController.h"
#include "Model/Preferences.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

UpdatePreferences::UpdatePreferences(Preferences* preferences, UpdaterController* updater,
                                     QWidget* parent)
    : PreferencesPaneViewController(parent), m_updater(updater)
{
    setObjectName(QStringLiteral("UpdatePreferences"));
    if (!updater) {
        auto* notice = addExplanation(
            tr("This build of Brambleworth has no update feed, so it does not check for updates."));
        notice->setObjectName(QStringLiteral("noUpdaterLabel"));
        notice->setForegroundRole(QPalette::WindowText);
        notice->setFont(font());
    }

    m_checkUpdatesAutomaticallyCheckBox = addCheckBox(
        QStringLiteral("checkUpdatesAutomaticallyCheckBox"), tr("&Automatically check for updates"),
        tr("Looks for a new version at start and once a day."));

    auto* row = new QHBoxLayout;
    auto* caption = new QLabel(tr("Last check:"), this);
    m_lastCheckLabel = new QLabel(this);
    m_lastCheckLabel->setObjectName(QStringLiteral("lastCheckLabel"));
    m_lastCheckLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    caption->setBuddy(m_lastCheckLabel);
    m_checkNowButton = new QPushButton(tr("Check &Now"), this);
    m_checkNowButton->setObjectName(QStringLiteral("checkNowButton"));
    m_checkNowButton->setAccessibleName(tr("Check for updates now"));
    row->addWidget(caption);
    row->addWidget(m_lastCheckLabel);
    row->addStretch();
    row->addWidget(m_checkNowButton);
    form()->addLayout(row);
    form()->addSpacing(8);

    m_checkBetaUpdateCheckbox =
        addCheckBox(QStringLiteral("checkBetaUpdateCheckbox"), tr("Include &beta versions"),
                    tr("Remembered for later: for now only the regular releases are offered."));
    bind(m_checkBetaUpdateCheckbox, preferences, UpdaterController::betaUpdatesKey());
    form()->addStretch();

    if (!updater) {
        m_checkUpdatesAutomaticallyCheckBox->setEnabled(false);
        m_checkBetaUpdateCheckbox->setEnabled(false);
        m_checkNowButton->setEnabled(false);
        m_lastCheckLabel->setText(lastCheckText(std::nullopt));
        return;
    }

    m_checkUpdatesAutomaticallyCheckBox->setChecked(updater->automaticallyChecksForUpdates());
    connect(m_checkUpdatesAutomaticallyCheckBox, &QCheckBox::toggled, updater,
            &UpdaterController::setAutomaticallyChecksForUpdates);
    connect(updater, &UpdaterController::automaticallyChecksForUpdatesChanged,
            m_checkUpdatesAutomaticallyCheckBox, [this](bool on) {
                const QSignalBlocker blocker(m_checkUpdatesAutomaticallyCheckBox);
                m_checkUpdatesAutomaticallyCheckBox->setChecked(on);
            });
    connect(updater, &UpdaterController::lastUpdateCheckDateChanged, this,
            &UpdatePreferences::refreshLastCheck);
    connect(m_checkNowButton, &QPushButton::clicked, updater, &UpdaterController::checkForUpdates);
    refreshLastCheck();
}

QString UpdatePreferences::toolbarItemIdentifier() const
{
    return QStringLiteral("Update");
}

QString UpdatePreferences::toolbarItemLabel() const
{
    return tr("Update");
}

QIcon UpdatePreferences::toolbarItemImage() const
{
    return themedIcon(QStringLiteral("system-software-update"),
                      QStringLiteral(":/brambleworth/icons/preferences-update.svg"));
}

QString UpdatePreferences::lastCheckText(const std::optional<QDateTime>& date)
{
    if (!date)
        return tr("Never");
    return QLocale().toString(date->toLocalTime(), QLocale::ShortFormat);
}

void UpdatePreferences::refreshLastCheck()
{
    m_lastCheckLabel->setText(
        lastCheckText(m_updater ? m_updater->lastUpdateCheckDate() : std::nullopt));
}
