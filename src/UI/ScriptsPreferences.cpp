// SPDX-License-Identifier: GPL-3.0-or-later
#include "UI/ScriptsPreferences.h"

#include "Model/Preferences.h"
#include "Model/ScriptsManager.h"

#include <QCheckBox>
#include <QVBoxLayout>

#include <algorithm>

ScriptsPreferences::ScriptsPreferences(Preferences* preferences, ScriptsManager* scriptsManager,
                                       QWidget* parent)
    : PreferencesPaneViewController(parent), m_preferences(preferences),
      m_scriptsManager(scriptsManager)
{
    setObjectName(QStringLiteral("ScriptsPreferences"));
    m_includeBuiltInScriptsCheckBox = addCheckBox(
        QStringLiteral("includeBuiltInScriptsCheckBox"), tr("&Include the built-in scripts"),
        tr("Example scripts that come with Brambleworth, listed before your own."));
    bind(m_includeBuiltInScriptsCheckBox, preferences,
         Preferences::key(Preferences::Identifier::includeBuiltInScripts));
    connect(m_includeBuiltInScriptsCheckBox, &QCheckBox::clicked, this,
            &ScriptsPreferences::changeIncludeBuiltInScripts);

    m_arrangeScriptMenuByCategoriesCheckBox =
        addCheckBox(QStringLiteral("arrangeScriptMenuByCategoriesCheckBox"),
                    tr("&Arrange the tray menu by categories"),
                    tr("Your scripts appear in one submenu per category."));
    bind(m_arrangeScriptMenuByCategoriesCheckBox, preferences,
         Preferences::key(Preferences::Identifier::arrangeScriptMenuByCategories));
    form()->addStretch();
}

QString ScriptsPreferences::toolbarItemIdentifier() const
{
    return QStringLiteral("Scripts");
}

QString ScriptsPreferences::toolbarItemLabel() const
{
    return tr("Scripts");
}

QIcon ScriptsPreferences::toolbarItemImage() const
{
    return themedIcon(QStringLiteral("utilities-terminal"),
                      QStringLiteral(":/brambleworth/icons/preferences-scripts.svg"));
}

void ScriptsPreferences::changeIncludeBuiltInScripts()
{
    if (!m_preferences || !m_scriptsManager)
        return;
    if (m_preferences->boolean(Preferences::Identifier::includeBuiltInScripts)) {
        // Loading adds them again each time; once in the library is enough.
        const ScriptList& scripts = m_scriptsManager->scripts();
        if (std::none_of(scripts.cbegin(), scripts.cend(),
                         [](const ScriptPtr& s) { return s->builtIn(); }))
            m_scriptsManager->loadBuiltInScripts();
    } else {
        m_scriptsManager->removeBuiltInScripts();
    }
}
