// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Execution/ScriptExecutorManager.h"
#include "HotKeys/HotKeyInfos.h"
#include "HotKeys/TQHotKeyFieldDelegate.h"
#include "Model/Script.h"
#include "Model/ScriptsManager.h"
#include "SyntaxHighlight/Language.h"
#include "UI/DetailPane.h"

#include <QPointer>
#include <QWidget>

#include <functional>
#include <memory>
#include <optional>

class AppHotKeyManager;
class KeyboardLayout;
class Preferences;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class TQCodeEditorTextView;
class TQHotKeyField;

namespace Ui {
class EditScriptView;
}

// One item of the language pop-up: a Highlight.js identifier and the name people read.
struct LanguageObject
{
    LanguageObject(QString identifier, QString name)
        : identifier(std::move(identifier)), name(std::move(name))
    {}
    QString identifier;
    QString name;
};

// The main window's pane for the selected script: every field edits the script at once, the
// library is saved on each keystroke in the name, when the text loses the focus, when the link
// is removed and when the pane goes away. A linked script's file follows every keystroke.
class EditScriptViewController : public QWidget, public DetailPane, public TQHotKeyFieldDelegate
{
    Q_OBJECT
public:
    // Where the languages come from (the engine applies "RestrictSyntaxHighlight").
    using LanguagesProvider = std::function<QList<Language>()>;

    EditScriptViewController(const ScriptPtr& script, Preferences& preferences,
                             LanguagesProvider languages, QWidget* parent = nullptr);
    ~EditScriptViewController() override;

    // Set by the creator right after creation; without them save, categories and run do nothing.
    void setScriptsManager(ScriptsManager* scriptsManager);
    ScriptsManager* scriptsManager() const { return m_scriptsManager; }
    void setScriptExecutor(ScriptExecutorManager* executor) { m_scriptExecutor = executor; }
    ScriptExecutorManager* scriptExecutor() const { return m_scriptExecutor; }
    // The hot key assignments and the layout that names keys; the field shows the script's.
    void setHotKeyManager(AppHotKeyManager* manager, const KeyboardLayout* layout);

    const ScriptPtr& script() const { return m_script; }
    const std::optional<HotKeyInfos>& scriptHotKeyInfos() const { return m_scriptHotKeyInfos; }
    const QList<LanguageObject>& languages() const { return m_languages; }

    QLineEdit* nameTextField() const { return m_nameTextField; }
    QCheckBox* keepLogButton() const { return m_keepLogButton; }
    TQCodeEditorTextView* codeEditor() const { return m_codeEditor; }
    QPushButton* startButton() const { return m_startButton; }
    QComboBox* languagesPopUpButton() const { return m_languagesPopUpButton; }
    TQHotKeyField* hotkeyView() const { return m_hotkeyView; }
    QLabel* categoryLabel() const { return m_categoryLabel; }
    QComboBox* categoryComboBox() const { return m_categoryComboBox; }
    QWidget* linkedToStackView() const { return m_linkedToStackView; }
    QLabel* linkedToLabel() const { return m_linkedToLabel; }
    QPushButton* showLinkedFileButton() const;
    QPushButton* removeLinkButton() const;

    // How a file is shown in the file manager; tests replace it.
    std::function<void(const QString& path)> revealFile;
    static void revealInFileManager(const QString& path);

    // DetailPane
    QWidget* view() override { return this; }
    void beginEditingName() override;

    // TQHotKeyFieldDelegate
    QString editedScriptId() const override;
    void removeHotKey() override;
    void setScriptHotKeyInfos(const std::optional<HotKeyInfos>& infos) override;

public slots:
    void executeScript();
    void focusCodeEditor();
    void removeLinkToFile();
    void showLinkedFileInFinder();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void viewDidLoad();
    void buildLanguageList();
    void selectLanguage(int index);
    void applyLanguage(const LanguageObject& language);
    void updateLinkedTo();
    void saveScripts();

    std::unique_ptr<Ui::EditScriptView> m_ui;
    ScriptPtr m_script;
    QPointer<Preferences> m_preferences;
    LanguagesProvider m_languagesProvider;
    QPointer<ScriptsManager> m_scriptsManager;
    QPointer<ScriptExecutorManager> m_scriptExecutor;
    QPointer<AppHotKeyManager> m_hotKeyManager;
    std::optional<HotKeyInfos> m_scriptHotKeyInfos;
    QList<LanguageObject> m_languages;
    // Off while the list is replaced, so that its passing selections do not reach the script.
    bool m_isLanguageSelectionEnabled = true;
    // On while the pane itself writes a value, so that the echo does not come back.
    bool m_updating = false;

    QLineEdit* m_nameTextField = nullptr;
    QCheckBox* m_keepLogButton = nullptr;
    TQCodeEditorTextView* m_codeEditor = nullptr;
    QPushButton* m_startButton = nullptr;
    QComboBox* m_languagesPopUpButton = nullptr;
    TQHotKeyField* m_hotkeyView = nullptr;
    QLabel* m_categoryLabel = nullptr;
    QComboBox* m_categoryComboBox = nullptr;
    QWidget* m_linkedToStackView = nullptr;
    QLabel* m_linkedToLabel = nullptr;
};
