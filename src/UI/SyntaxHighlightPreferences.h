// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "UI/PreferencesPaneViewController.h"

class SyntaxHighlight;
class QCheckBox;
class QComboBox;
class QPlainTextEdit;
class QStringListModel;

// The highlighting theme and switches. The pop-up writes "SyntaxtHighlightThemeName" straight
// into the store, whose change signal open editors follow; a short script underneath shows the
// chosen theme.
class SyntaxHighlightPreferences : public PreferencesPaneViewController
{
    Q_OBJECT
public:
    SyntaxHighlightPreferences(Preferences* preferences, const SyntaxHighlight* highlighter,
                               QWidget* parent = nullptr);

    QString toolbarItemIdentifier() const override;
    QString toolbarItemLabel() const override;
    QIcon toolbarItemImage() const override;

    // What editors show while no theme has been chosen.
    static QString defaultThemeName();
    static QString previewScript();

    QComboBox* themesPopUpButton() const { return m_themesPopUpButton; }
    QStringListModel* themesArrayController() const { return m_themesArrayController; }
    QPlainTextEdit* preview() const { return m_preview; }

private:
    QString chosenThemeName() const;
    void showChosenTheme();
    void updatePreview();

    QPointer<Preferences> m_preferences;
    const SyntaxHighlight* m_highlighter;
    QStringListModel* m_themesArrayController;
    QComboBox* m_themesPopUpButton;
    QPlainTextEdit* m_preview;
    QCheckBox* m_useSyntaxtHighlightingCheckBox;
    QCheckBox* m_restrictSyntaxHighlightCheckBox;
};
