// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFileDialog>
#include <QPointer>
#include <QWidget>

#include <memory>

class QCheckBox;

namespace Ui {
class SaveOptionsView;
}

// The save panel's accessory: whether the exported file is made executable. It only holds the
// choice; the export reads it once the panel has been confirmed.
class SaveOptionsViewController : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(bool hasExecutionRights READ hasExecutionRights WRITE setHasExecutionRights NOTIFY
                   hasExecutionRightsChanged)

public:
    explicit SaveOptionsViewController(QWidget* parent = nullptr);
    ~SaveOptionsViewController() override;

    bool hasExecutionRights() const { return m_hasExecutionRights; }
    void setHasExecutionRights(bool hasExecutionRights);

    QCheckBox* executionRightButton() const;

    QFileDialog* panel() const { return m_panel; }
    void setPanel(QFileDialog* panel) { m_panel = panel; }

signals:
    void hasExecutionRightsChanged(bool hasExecutionRights);

private:
    std::unique_ptr<Ui::SaveOptionsView> m_ui;
    bool m_hasExecutionRights = false;
    QPointer<QFileDialog> m_panel;
};
