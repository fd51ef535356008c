// SPDX-License-Identifier: GPL-3.0-or-later
#include "UI/EditScriptViewController.h"

#include "HotKeys/AppHotKeyManager.h"
#include "HotKeys/TQHotKeyField.h"
#include "Model/Preferences.h"
#include "Model/URLBookmarkValueTransformer.h"
#include "QuillonCommons/AppError.h"
#include "QuillonCommons/AppLogger.h"
#include "SyntaxHighlight/TQCodeEditorTextView.h"

#include "ui_EditScriptView.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCompleter>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDesktopServices>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QUrl>

#include <algorithm>

namespace {

const QString useHighlightingKey = QStringLiteral("UseSyntaxtHighlighting");
const QString themeNameKey = QStringLiteral("SyntaxtHighlightThemeName");
const QString restrictKey = QStringLiteral("RestrictSyntaxHighlight");

} // namespace

EditScriptViewController::EditScriptViewController(const ScriptPtr& script,
                                                   Preferences& preferences,
                                                   LanguagesProvider languages, QWidget* parent)
    : QWidget(parent), m_ui(std::make_unique<Ui::EditScriptView>()), m_script(script),
      m_preferences(&preferences), m_languagesProvider(std::move(languages))
{
    if (!m_script)
        qFatal("EditScriptViewController needs a script");
    revealFile = &EditScriptViewController::revealInFileManager;
    m_ui->setupUi(this);
    setObjectName(QStringLiteral("EditScriptView"));
    m_nameTextField = m_ui->nameTextField;
    m_keepLogButton = m_ui->keepLogButton;
    m_codeEditor = m_ui->codeEditor;
    m_startButton = m_ui->startButton;
    m_languagesPopUpButton = m_ui->languagesPopUpButton;
    m_hotkeyView = m_ui->hotkeyView;
    m_categoryLabel = m_ui->categoryLabel;
    m_categoryComboBox = m_ui->categoryComboBox;
    m_linkedToStackView = m_ui->linkedToStackView;
    m_linkedToLabel = m_ui->linkedToLabel;
    viewDidLoad();
}

EditScriptViewController::~EditScriptViewController()
{
    // The window deletes the pane when the selection moves on: the last edits are kept.
    // The children outlive this part of the object: no callbacks into it from here on.
    m_codeEditor->removeEventFilter(this);
    m_hotkeyView->setDelegate(nullptr);
    saveScripts();
}

QPushButton* EditScriptViewController::showLinkedFileButton() const
{
    return m_ui->showLinkedFileButton;
}

QPushButton* EditScriptViewController::removeLinkButton() const
{
    return m_ui->removeLinkButton;
}

void EditScriptViewController::viewDidLoad()
{
    // Runs start from the toolbar and Ctrl+Return.
    m_startButton->hide();
    connect(m_startButton, &QPushButton::clicked, this, &EditScriptViewController::executeScript);

    // Name: every keystroke renames (the sidebar and menus follow) and saves.
    m_nameTextField->setText(m_script->name());
    connect(m_nameTextField, &QLineEdit::textEdited, this, [this](const QString& text) {
        m_updating = true;
        m_script->setName(text);
        m_updating = false;
        saveScripts();
    });
    connect(m_script.get(), &Script::nameChanged, this, [this](const QString& name) {
        if (!m_updating && m_nameTextField->text() != name)
            m_nameTextField->setText(name);
    });

    m_keepLogButton->setChecked(m_script->keepLog());
    connect(m_keepLogButton, &QCheckBox::toggled, m_script.get(), &Script::setKeepLog);
    connect(m_script.get(), &Script::keepLogChanged, m_keepLogButton, &QCheckBox::setChecked);

    // Languages, rebuilt whenever the restriction changes.
    connect(m_preferences, &Preferences::valueChanged, this, [this](const QString& key) {
        if (key == restrictKey)
            buildLanguageList();
        else if (key == useHighlightingKey)
            m_codeEditor->setSyntaxHighlightEnabled(m_preferences->boolean(useHighlightingKey));
        else if (key == themeNameKey)
            m_codeEditor->setThemeName(m_preferences->string(themeNameKey));
    });
    connect(m_languagesPopUpButton, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (m_isLanguageSelectionEnabled && index >= 0 && index < m_languages.size())
            applyLanguage(m_languages.at(index));
    });
    buildLanguageList();
    m_languagesPopUpButton->setEnabled(!m_script->builtIn());

    // The editor: text, language, highlighting, theme and, for built-in scripts, read-only.
    m_codeEditor->setLanguage(m_script->language());
    m_codeEditor->setThemeName(m_preferences->string(themeNameKey));
    m_codeEditor->setSyntaxHighlightEnabled(m_preferences->boolean(useHighlightingKey));
    m_codeEditor->setString(m_script->content());
    m_codeEditor->setReadOnly(m_script->builtIn());
    m_codeEditor->installEventFilter(this);
    // The content setter writes a linked file through: every keystroke reaches the file.
    connect(m_codeEditor, &QPlainTextEdit::textChanged, this, [this] {
        if (m_updating)
            return;
        m_updating = true;
        m_script->setContent(m_codeEditor->toPlainText());
        m_updating = false;
    });
    connect(m_script.get(), &Script::contentChanged, this, [this](const QString& content) {
        if (m_updating || m_codeEditor->toPlainText() == content)
            return;
        m_updating = true;
        m_codeEditor->setString(content);
        m_updating = false;
    });
    connect(m_script.get(), &Script::languageChanged, this, [this](const QString& language) {
        if (m_codeEditor->language() != language)
            m_codeEditor->setLanguage(language);
        for (int i = 0; i < m_languages.size(); ++i) {
            if (m_languages.at(i).identifier == language &&
                m_languagesPopUpButton->currentIndex() != i) {
                const QSignalBlocker blocker(m_languagesPopUpButton);
                m_languagesPopUpButton->setCurrentIndex(i);
            }
        }
    });
    connect(m_script.get(), &Script::builtInChanged, this, [this](bool builtIn) {
        m_codeEditor->setReadOnly(builtIn);
        m_languagesPopUpButton->setEnabled(!builtIn);
        m_categoryComboBox->setHidden(builtIn);
        m_categoryLabel->setHidden(builtIn);
    });

    m_hotkeyView->setDelegate(this);

    // The linked file.
    updateLinkedTo();
    connect(m_script.get(), &Script::bookmarkChanged, this,
            &EditScriptViewController::updateLinkedTo);
    connect(showLinkedFileButton(), &QPushButton::clicked, this,
            &EditScriptViewController::showLinkedFileInFinder);
    connect(removeLinkButton(), &QPushButton::clicked, this,
            &EditScriptViewController::removeLinkToFile);

    // Category: completion from the library's categories; built-in scripts have none.
    m_categoryComboBox->setEditText(m_script->category());
    m_categoryComboBox->completer()->setCompletionMode(QCompleter::InlineCompletion);
    m_categoryComboBox->completer()->setCaseSensitivity(Qt::CaseSensitive);
    connect(m_categoryComboBox, &QComboBox::editTextChanged, this, [this](const QString& text) {
        if (m_updating)
            return;
        m_updating = true;
        m_script->setCategory(text);
        m_updating = false;
    });
    // An accepted completion ("Net" becoming "Network") lands when the edit ends.
    connect(m_categoryComboBox->lineEdit(), &QLineEdit::editingFinished, this, [this] {
        if (m_script->category() != m_categoryComboBox->currentText())
            m_script->setCategory(m_categoryComboBox->currentText());
    });
    connect(m_script.get(), &Script::categoryChanged, this, [this](const QString& category) {
        if (m_updating || m_categoryComboBox->currentText() == category)
            return;
        m_updating = true;
        m_categoryComboBox->setEditText(category);
        m_updating = false;
    });
    m_categoryComboBox->setHidden(m_script->builtIn());
    m_categoryLabel->setHidden(m_script->builtIn());
}

void EditScriptViewController::setScriptsManager(ScriptsManager* scriptsManager)
{
    m_scriptsManager = scriptsManager;
    const QString category = m_script->category();
    m_updating = true;
    m_categoryComboBox->clear();
    if (m_scriptsManager)
        m_categoryComboBox->addItems(m_scriptsManager->categories());
    m_categoryComboBox->setEditText(category);
    m_updating = false;
}

void EditScriptViewController::setHotKeyManager(AppHotKeyManager* manager,
                                                const KeyboardLayout* layout)
{
    m_hotKeyManager = manager;
    m_hotkeyView->setHotKeyManager(manager);
    m_hotkeyView->setKeyboardLayout(layout);
    m_scriptHotKeyInfos.reset();
    const auto hotKey = manager ? manager->registeredHotKey(m_script->id()) : std::nullopt;
    if (hotKey) {
        m_scriptHotKeyInfos = HotKeyInfos::from(*hotKey);
        m_hotkeyView->setKey(hotKey->key);
        m_hotkeyView->setModifiers(hotKey->modifiers);
    } else {
        m_hotkeyView->setKey(QString());
        m_hotkeyView->setModifiers(0);
    }
}

void EditScriptViewController::beginEditingName()
{
    m_nameTextField->setFocus(Qt::OtherFocusReason);
    m_nameTextField->selectAll();
}

QString EditScriptViewController::editedScriptId() const
{
    return m_script->id();
}

void EditScriptViewController::removeHotKey()
{
    if (m_hotKeyManager)
        m_hotKeyManager->remove(m_script->id());
    m_scriptHotKeyInfos.reset();
}

void EditScriptViewController::setScriptHotKeyInfos(const std::optional<HotKeyInfos>& infos)
{
    m_scriptHotKeyInfos = infos;
}

void EditScriptViewController::buildLanguageList()
{
    QList<LanguageObject> languages;
    if (m_languagesProvider) {
        for (const Language& language : m_languagesProvider())
            languages.append(LanguageObject(language.identifier, language.displayName));
    }
    // Plain code-point order, as the list has always been sorted: "C#" before "bash".
    std::stable_sort(languages.begin(), languages.end(),
                     [](const LanguageObject& a, const LanguageObject& b) {
                         return QString::compare(a.name, b.name, Qt::CaseSensitive) < 0;
                     });

    m_isLanguageSelectionEnabled = false;
    m_languages = languages;
    m_languagesPopUpButton->clear();
    for (const LanguageObject& language : std::as_const(m_languages))
        m_languagesPopUpButton->addItem(language.name, language.identifier);
    m_languagesPopUpButton->setCurrentIndex(-1);
    m_isLanguageSelectionEnabled = true;

    auto indexOf = [this](const QString& identifier) {
        for (int i = 0; i < m_languages.size(); ++i) {
            if (m_languages.at(i).identifier == identifier)
                return i;
        }
        return -1;
    };
    int index = indexOf(m_script->language());
    if (index < 0)
        index = indexOf(Script::defaultLanguage());
    if (index >= 0)
        selectLanguage(index);
}

void EditScriptViewController::selectLanguage(int index)
{
    if (m_languagesPopUpButton->currentIndex() == index)
        applyLanguage(m_languages.at(index));
    else
        m_languagesPopUpButton->setCurrentIndex(index);
}

void EditScriptViewController::applyLanguage(const LanguageObject& language)
{
    m_script->setLanguage(language.identifier);
    m_codeEditor->setLanguage(language.identifier);
}

void EditScriptViewController::updateLinkedTo()
{
    const bool linked = m_script->bookmark().has_value();
    m_linkedToStackView->setHidden(!linked);
    m_linkedToLabel->setText(
        linked ? URLBookmarkValueTransformer::transformedValue(m_script->bookmarkData())
               : QString());
}

bool EditScriptViewController::eventFilter(QObject* watched, QEvent* event)
{
    // Leaving the text is the end of an edit: that is when the library is written.
    if (watched == m_codeEditor && event->type() == QEvent::FocusOut)
        saveScripts();
    return QWidget::eventFilter(watched, event);
}

void EditScriptViewController::saveScripts()
{
    if (m_scriptsManager)
        m_scriptsManager->saveScripts();
}

void EditScriptViewController::executeScript()
{
    if (!m_scriptExecutor)
        return;
    try {
        m_scriptExecutor->startExecution(m_script);
    } catch (const AppError& error) {
        AppLogger::error(error, QStringLiteral("executeScript(_:)"), __LINE__);
    }
}

void EditScriptViewController::focusCodeEditor()
{
    m_codeEditor->setFocus(Qt::OtherFocusReason);
}

void EditScriptViewController::removeLinkToFile()
{
    const std::optional<QString> path = m_script->resolveBookmarkAndUpdateIfNeeded();
    if (path) {
        QMessageBox alert(QMessageBox::Information, tr("Brambleworth"),
                          tr("Remove link to file ") + *path + tr(" ?"), QMessageBox::NoButton,
                          this);
        alert.setInformativeText(tr("The script will be kept in Brambleworth but all new "
                                    "changes will not be saved to the file."));
        // The first button is the one Return and Escape choose: keeping the link is safe.
        QPushButton* cancel = alert.addButton(tr("Cancel"), QMessageBox::RejectRole);
        // "OK" is the same word everywhere.
        QPushButton* ok = alert.addButton(QStringLiteral("OK"), QMessageBox::AcceptRole);
        alert.setDefaultButton(cancel);
        alert.setEscapeButton(cancel);
        alert.exec();
        if (alert.clickedButton() != ok)
            return;
    }
    m_script->setBookmark(std::nullopt);
    saveScripts();
}

void EditScriptViewController::showLinkedFileInFinder()
{
    const std::optional<QString> path = m_script->resolveBookmarkAndUpdateIfNeeded();
    if (path && revealFile)
        revealFile(*path);
}

void EditScriptViewController::revealInFileManager(const QString& path)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << QStringList{QUrl::fromLocalFile(path).toString()} << QString();
    const QDBusMessage reply = QDBusConnection::sessionBus().call(call, QDBus::Block, 3000);
    // Without a file manager service, the folder opens in whatever handles folders.
    if (reply.type() != QDBusMessage::ReplyMessage)
        QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(path).absolutePath()));
}
