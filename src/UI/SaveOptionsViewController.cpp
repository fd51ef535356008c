// SPDX-License-Identifier: GPL-3.0-or-later
#include "UI/SaveOptionsViewController.h"

#include "ui_SaveOptionsView.h"

#include <QCheckBox>
#include <QFileDialog>

SaveOptionsViewController::SaveOptionsViewController(QWidget* parent)
    : QWidget(parent), m_ui(std::make_unique<Ui::SaveOptionsView>())
{
    m_ui->setupUi(this);
    setObjectName(QStringLiteral("SaveOptionsView"));
    m_ui->executionRightButton->setChecked(m_hasExecutionRights);
    // The check box and the field stay equal whichever side changes.
    connect(m_ui->executionRightButton, &QCheckBox::toggled, this,
            &SaveOptionsViewController::setHasExecutionRights);
    connect(this, &SaveOptionsViewController::hasExecutionRightsChanged, m_ui->executionRightButton,
            &QCheckBox::setChecked);
}

SaveOptionsViewController::~SaveOptionsViewController() = default;

void SaveOptionsViewController::setHasExecutionRights(bool hasExecutionRights)
{
    if (m_hasExecutionRights == hasExecutionRights)
        return;
    m_hasExecutionRights = hasExecutionRights;
    emit hasExecutionRightsChanged(hasExecutionRights);
}

QCheckBox* SaveOptionsViewController::executionRightButton() const
{
    return m_ui->executionRightButton;
}
