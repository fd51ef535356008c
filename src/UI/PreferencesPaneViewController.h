// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QIcon>
#include <QPointer>
#include <QString>
#include <QWidget>

class Preferences;
class QCheckBox;
class QLabel;
class QVBoxLayout;

// The base of the preferences panes: a pane is its own view, and tells the window the
// identifier, label and image of its toolbar item.
class PreferencesPaneViewController : public QWidget
{
    Q_OBJECT
public:
    explicit PreferencesPaneViewController(QWidget* parent = nullptr);

    virtual QString toolbarItemIdentifier() const;
    virtual QString toolbarItemLabel() const;
    virtual QIcon toolbarItemImage() const;

    // An icon of the desktop's theme, else the bundled drawing of the same meaning.
    static QIcon themedIcon(const QString& themeName, const QString& fallbackResource);

protected:
    // A check box with its one-line explanation under it, appended to the pane's form.
    QCheckBox* addCheckBox(const QString& objectName, const QString& text,
                           const QString& explanation);
    QLabel* addExplanation(const QString& text, int indent = 0);
    // Keeps a check box and a boolean preference the same, whichever side changes.
    static void bind(QCheckBox* checkBox, Preferences* preferences, const QString& key);

    QVBoxLayout* form() const { return m_form; }

private:
    QVBoxLayout* m_form;
};
