// SPDX-License-Identifier: GPL-3.0-or-later
#include "UI/PreferencesPaneViewController.h"

#include "Model/Preferences.h"

#include <QCheckBox>
#include <QLabel>
#include <QSignalBlocker>
#include <QStyle>
#include <QVBoxLayout>

PreferencesPaneViewController::PreferencesPaneViewController(QWidget* parent)
    : QWidget(parent), m_form(new QVBoxLayout(this))
{
    m_form->setSpacing(4);
}

QString PreferencesPaneViewController::toolbarItemIdentifier() const
{
    return QStringLiteral("General");
}

QString PreferencesPaneViewController::toolbarItemLabel() const
{
    return QStringLiteral("General");
}

QIcon PreferencesPaneViewController::toolbarItemImage() const
{
    return themedIcon(QStringLiteral("dialog-warning"),
                      QStringLiteral(":/brambleworth/icons/preferences-caution.svg"));
}

QIcon PreferencesPaneViewController::themedIcon(const QString& themeName,
                                                const QString& fallbackResource)
{
    return QIcon::fromTheme(themeName, QIcon(fallbackResource));
}

QCheckBox* PreferencesPaneViewController::addCheckBox(const QString& objectName,
                                                      const QString& text,
                                                      const QString& explanation)
{
    auto* checkBox = new QCheckBox(text, this);
    checkBox->setObjectName(objectName);
    checkBox->setAccessibleName(QString(text).remove(QLatin1Char('&')));
    if (!explanation.isEmpty())
        checkBox->setAccessibleDescription(explanation);
    m_form->addWidget(checkBox);
    if (!explanation.isEmpty()) {
        // Lined up under the check box's text, not its box.
        const int indent = style()->pixelMetric(QStyle::PM_IndicatorWidth, nullptr, checkBox) +
                           style()->pixelMetric(QStyle::PM_CheckBoxLabelSpacing, nullptr, checkBox);
        addExplanation(explanation, indent);
    }
    return checkBox;
}

QLabel* PreferencesPaneViewController::addExplanation(const QString& text, int indent)
{
    auto* label = new QLabel(text, this);
    label->setWordWrap(true);
    label->setForegroundRole(QPalette::PlaceholderText);
    QFont small = label->font();
    if (small.pointSizeF() > 0)
        small.setPointSizeF(small.pointSizeF() * 0.9);
    label->setFont(small);
    label->setContentsMargins(indent, 0, 0, 6);
    m_form->addWidget(label);
    return label;
}

void PreferencesPaneViewController::bind(QCheckBox* checkBox, Preferences* preferences,
                                         const QString& key)
{
    if (!preferences) {
        checkBox->setEnabled(false);
        return;
    }
    checkBox->setChecked(preferences->boolean(key));
    QPointer<Preferences> store(preferences);
    connect(checkBox, &QCheckBox::toggled, preferences, [store, key](bool on) {
        if (store && store->boolean(key) != on)
            store->setValue(key, on);
    });
    connect(preferences, &Preferences::valueChanged, checkBox,
            [checkBox, store, key](const QString& changed) {
                if (changed != key || !store)
                    return;
                // Written elsewhere: show it without sending the box's own signals round again.
                const QSignalBlocker blocker(checkBox);
                checkBox->setChecked(store->boolean(key));
            });
}
