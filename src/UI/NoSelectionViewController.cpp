// SPDX-License-Identifier: GPL-3.0-or-later
#include "UI/NoSelectionViewController.h"

#include <QLabel>
#include <QPalette>
#include <QVBoxLayout>

NoSelectionViewController::NoSelectionViewController(QWidget* parent) : QWidget(parent)
{
    setObjectName(identifier());
    m_label = new QLabel(tr("Select a script, or press + to add one"), this);
    m_label->setObjectName(QStringLiteral("noSelectionHint"));
    m_label->setAlignment(Qt::AlignCenter);
    m_label->setWordWrap(true);
    m_label->setForegroundRole(QPalette::PlaceholderText);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_label);
}

QString NoSelectionViewController::hint() const
{
    return m_label->text();
}
