// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "UI/DetailPane.h"

#include <QWidget>

class QLabel;

// The detail pane when nothing that has a pane of its own is selected: a quiet hint.
class NoSelectionViewController : public QWidget, public DetailPane
{
    Q_OBJECT
public:
    static QString identifier() { return QStringLiteral("NoSelectionIdentifier"); }

    explicit NoSelectionViewController(QWidget* parent = nullptr);
    QWidget* view() override { return this; }
    QString hint() const;

private:
    QLabel* m_label = nullptr;
};
