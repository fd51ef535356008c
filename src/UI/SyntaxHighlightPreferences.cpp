// SPDX-License-Identifier: GPL-3.0-or-later
#include "UI/SyntaxHighlightPreferences.h"

#include "Model/Preferences.h"
#include "SyntaxHighlight/BuiltInThemes.h"
#include "SyntaxHighlight/HighlightFormats.h"
#include "SyntaxHighlight/SyntaxHighlight.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFontDatabase>
#include <QFormLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QSignalBlocker>
#include <QStringListModel>
#include <QTextBlock>
#include <QTextCursor>
#include <QVBoxLayout>

namespace {
QString themeKey()
{
    return Preferences::key(Preferences::Identifier::syntaxtHighlightThemeName);
}
} // namespace

SyntaxHighlightPreferences::SyntaxHighlightPreferences(Preferences* preferences,
                                                       const SyntaxHighlight* highlighter,
                                                       QWidget* parent)
    : PreferencesPaneViewController(parent), m_preferences(preferences), m_highlighter(highlighter)
{
    setObjectName(QStringLiteral("SyntaxHighlightPreferences"));

    m_themesArrayController = new QStringListModel(BuiltInThemes::names(), this);
    m_themesArrayController->setObjectName(QStringLiteral("themesArrayController"));
    m_themesPopUpButton = new QComboBox(this);
    m_themesPopUpButton->setObjectName(QStringLiteral("themesPopUpButton"));
    m_themesPopUpButton->setModel(m_themesArrayController);
    m_themesPopUpButton->setMaxVisibleItems(20);
    auto* themeLabel = new QLabel(tr("&Theme:"), this);
    themeLabel->setBuddy(m_themesPopUpButton);
    auto* row = new QFormLayout;
    row->addRow(themeLabel, m_themesPopUpButton);
    form()->addLayout(row);

    m_preview = new QPlainTextEdit(this);
    m_preview->setObjectName(QStringLiteral("themePreview"));
    m_preview->setAccessibleName(tr("Theme preview"));
    m_preview->setReadOnly(true);
    m_preview->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_preview->setFocusPolicy(Qt::NoFocus);
    m_preview->setPlainText(previewScript());
    const QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    m_preview->setFont(fixed);
    m_preview->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_preview->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    const int lines = int(previewScript().count(QLatin1Char('\n'))) + 1;
    m_preview->setFixedHeight(QFontMetrics(fixed).lineSpacing() * lines +
                              2 * (m_preview->frameWidth() + 4) +
                              int(2 * m_preview->document()->documentMargin()));
    form()->addWidget(m_preview);
    form()->addSpacing(6);

    m_useSyntaxtHighlightingCheckBox =
        addCheckBox(QStringLiteral("useSyntaxtHighlightingCheckBox"),
                    tr("&Highlight the syntax of scripts"), QString());
    bind(m_useSyntaxtHighlightingCheckBox, preferences,
         Preferences::key(Preferences::Identifier::useSyntaxtHighlighting));
    m_restrictSyntaxHighlightCheckBox = addCheckBox(
        QStringLiteral("restrictSyntaxHighlightCheckBox"), tr("&Offer only the common languages"),
        tr("A shorter language list in the editor; faster on large scripts."));
    bind(m_restrictSyntaxHighlightCheckBox, preferences,
         Preferences::key(Preferences::Identifier::restrictSyntaxHighlight));
    form()->addStretch();

    showChosenTheme();
    connect(m_themesPopUpButton, &QComboBox::currentTextChanged, this, [this](const QString& name) {
        if (m_preferences && !name.isEmpty() && m_preferences->string(themeKey()) != name)
            m_preferences->setValue(themeKey(), name);
    });
    if (preferences) {
        connect(preferences, &Preferences::valueChanged, this, [this](const QString& key) {
            if (key == themeKey())
                showChosenTheme();
            else if (key == Preferences::key(Preferences::Identifier::useSyntaxtHighlighting))
                updatePreview();
        });
    }
}

QString SyntaxHighlightPreferences::toolbarItemIdentifier() const
{
    return QStringLiteral("Syntax Highlight");
}

QString SyntaxHighlightPreferences::toolbarItemLabel() const
{
    return tr("Syntax Highlight");
}

QIcon SyntaxHighlightPreferences::toolbarItemImage() const
{
    return themedIcon(QStringLiteral("preferences-desktop-theme"),
                      QStringLiteral(":/brambleworth/icons/preferences-highlight.svg"));
}

QString SyntaxHighlightPreferences::defaultThemeName()
{
    return QStringLiteral("solarized-dark");
}

QString SyntaxHighlightPreferences::previewScript()
{
    return QStringLiteral("#!/bin/bash\n"
                          "# Back up the notes folder\n"
                          "target=\"$HOME/backup/$(date +%F)\"\n"
                          "mkdir -p \"$target\" && cp -r ~/notes \"$target\"\n"
                          "echo \"Saved ${#target} bytes of path\" # done\n"
                          "exit 0");
}

QString SyntaxHighlightPreferences::chosenThemeName() const
{
    const QString stored = m_preferences ? m_preferences->string(themeKey()) : QString();
    return BuiltInThemes::names().contains(stored) ? stored : defaultThemeName();
}

void SyntaxHighlightPreferences::showChosenTheme()
{
    {
        const QSignalBlocker blocker(m_themesPopUpButton);
        m_themesPopUpButton->setCurrentIndex(m_themesPopUpButton->findText(chosenThemeName()));
    }
    updatePreview();
}

void SyntaxHighlightPreferences::updatePreview()
{
    QTextCursor all(m_preview->document());
    all.select(QTextCursor::Document);
    all.setCharFormat(QTextCharFormat());
    m_preview->setPalette(QPalette());

    const bool enabled =
        !m_preferences || m_preferences->boolean(Preferences::Identifier::useSyntaxtHighlighting);
    const auto theme = BuiltInThemes::theme(chosenThemeName());
    if (!enabled || !theme)
        return;
    if (theme->backgroundColor) {
        QPalette palette = m_preview->palette();
        palette.setColor(QPalette::Base, HighlightFormats::color(*theme->backgroundColor));
        m_preview->setPalette(palette);
    }
    QList<HighlightRange> ranges;
    if (m_highlighter)
        ranges = m_highlighter->highlightRanges(previewScript(), QStringLiteral("bash"), *theme);
    if (ranges.isEmpty())
        ranges.append(HighlightRange{TextRange{0, int(previewScript().size())},
                                     SyntaxHighlight::defaultAttributes(*theme)});
    const int length = int(previewScript().size());
    for (const HighlightRange& range : ranges) {
        if (range.range.location < 0 || range.range.end() > length || range.range.length <= 0)
            continue;
        QTextCursor cursor(m_preview->document());
        cursor.setPosition(range.range.location);
        cursor.setPosition(range.range.end(), QTextCursor::KeepAnchor);
        // Colours and faces only: the theme's font and size are the editor's business, and
        // would not fit the preview's fixed height.
        const QTextCharFormat themed = HighlightFormats::format(range.attributes);
        QTextCharFormat format;
        if (themed.hasProperty(QTextFormat::ForegroundBrush))
            format.setForeground(themed.foreground());
        format.setFontWeight(themed.font().bold() ? QFont::Bold : QFont::Normal);
        format.setFontItalic(themed.font().italic());
        cursor.setCharFormat(format);
    }
}
