// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "UI/PreferencesPaneViewController.h"

class ScriptsManager;
class QCheckBox;

// The built-in example scripts and how the tray menu lists the user's scripts.
class ScriptsPreferences : public PreferencesPaneViewController
{
    Q_OBJECT
public:
    ScriptsPreferences(Preferences* preferences, ScriptsManager* scriptsManager,
                       QWidget* parent = nullptr);

    QString toolbarItemIdentifier() const override;
    QString toolbarItemLabel() const override;
    QIcon toolbarItemImage() const override;

    QCheckBox* includeBuiltInScriptsCheckBox() const { return m_includeBuiltInScriptsCheckBox; }
    QCheckBox* arrangeScriptMenuByCategoriesCheckBox() const
    {
        return m_arrangeScriptMenuByCategoriesCheckBox;
    }

public slots:
    // Loads the built-in scripts or takes them out of the library, as the preference now says.
    void changeIncludeBuiltInScripts();

private:
    QPointer<Preferences> m_preferences;
    QPointer<ScriptsManager> m_scriptsManager;
    QCheckBox* m_includeBuiltInScriptsCheckBox;
    QCheckBox* m_arrangeScriptMenuByCategoriesCheckBox;
};
