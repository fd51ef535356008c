// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "SyntaxHighlight/ClassRangeNode.h"
#include "SyntaxHighlight/HighlightAttributedString.h"
#include "SyntaxHighlight/HighlightFont.h"
#include "SyntaxHighlight/HighlightRange.h"
#include "SyntaxHighlight/Language.h"
#include "SyntaxHighlight/ThemeAttributes.h"

#include <QList>
#include <QPointer>
#include <QSet>
#include <QString>

#include <memory>
#include <optional>

class JavaScriptValue;
class Preferences;

// Highlights source text with Highlight.js running in an embedded JavaScript context of its
// own, and turns the HTML it returns into styled ranges under a theme.
//
// Each instance owns one context: the shared instance serves the list of languages, and every
// editor's highlighter creates its own. Instances are used from one thread.
class SyntaxHighlight
{
public:
    // Created on first use, once; lives for the whole process. Its JavaScript context costs
    // memory, so start-up only names the store it will read.
    static SyntaxHighlight& shared();
    static void setSharedPreferences(const Preferences* preferences);

    SyntaxHighlight();
    ~SyntaxHighlight();
    SyntaxHighlight(const SyntaxHighlight&) = delete;
    SyntaxHighlight& operator=(const SyntaxHighlight&) = delete;

    const HighlightFont& defaultFont() const { return m_defaultFont; }
    const Language& defaultLanguage() const { return m_defaultLanguage; }
    bool ignoreIllegals() const { return m_ignoreIllegals; }
    void setIgnoreIllegals(bool ignore) { m_ignoreIllegals = ignore; }

    // The store whose "RestrictSyntaxHighlight" is read on every call; none means unrestricted.
    void setPreferences(const Preferences* preferences);

    // Asked of the context on every call. With "RestrictSyntaxHighlight" on, only the common
    // languages built into the Highlight.js core are offered.
    QList<Language> availableLanguages() const;
    // The first available language with that display name, else the default language.
    QString languageIdentifier(const QString& displayName) const;
    QString languageDisplayName(const QString& identifier) const;

    // The theme's default attributes over the whole code first, then one entry per span with
    // classes, breadth-first, so inner spans come later. Empty when highlighting is impossible.
    // An empty language asks Highlight.js to detect it.
    //
    // Where the HTML's characters are its units (nearly always), the spans come from the
    // context as numbers; otherwise, and for detection, from the HTML as below.
    QList<HighlightRange> highlightRanges(const QString& code, const QString& language,
                                          const ThemeAttributes& theme) const;
    // The same list rebuilt from the HTML, whose searches run over characters, not units.
    QList<HighlightRange> highlightRangesFromHTML(const QString& code, const QString& language,
                                                  const ThemeAttributes& theme) const;
    // The rebuilt text with every attribute set; nothing on failure, the text without
    // attributes when the HTML could not be rebuilt.
    std::optional<HighlightAttributedString>
    highlightAttributedString(const QString& code, const QString& language,
                              const ThemeAttributes& theme) const;

    // The HTML Highlight.js returns for the code (its "value"), or nothing.
    std::optional<QString> highlightedHTML(const QString& code, const QString& language) const;

    // The font for a list of text attributes: the theme's font name and size (else the system
    // UI font at 13.0), bold and italic from the list.
    static HighlightFont font(const QList<ThemeAttributes::TextAttribute>& textAttributes,
                              const ThemeAttributes& theme);
    static TextAttributes defaultAttributes(const ThemeAttributes& theme);
    // The attributes of a span's class list ("hljs-title function_").
    static TextAttributes classAttributes(const QString& classes, const ThemeAttributes& theme);

private:
    struct Spans;
    std::optional<Spans> highlightedSpans(const QString& code, const QString& language) const;

    HighlightFont m_defaultFont;
    std::unique_ptr<JavaScriptValue> m_hljsValue;
    std::unique_ptr<JavaScriptValue> m_hljsHelperValue;
    std::unique_ptr<JavaScriptValue> m_spansValue;
    Language m_defaultLanguage;
    bool m_ignoreIllegals = false;
    QPointer<const Preferences> m_preferences;
    // The languages of the Highlight.js core alone, before the other grammars were added.
    QSet<QString> m_commonLanguages;
};
