// SPDX-License-Identifier: GPL-3.0-or-later
#include "SyntaxHighlight/SyntaxHighlight.h"

#include "Model/Preferences.h"
#include "QuillonCommons/AppLogger.h"
#include "SyntaxHighlight/GraphemeCount.h"
#include "SyntaxHighlight/HLJSClassName.h"
#include "SyntaxHighlight/HighlightedHTMLParser.h"
#include "SyntaxHighlight/JavaScriptContext.h"

#include <QFile>
#include <QHash>

#include <algorithm>
#include <deque>
#include <vector>

namespace {

// The program's own helper, evaluated after Highlight.js; its text is part of the interface
// with the context and stays exactly as it is.
const char16_t helperScript[] = u"var hljsHlp={\n"
                                u"  availableLanguages() {\n"
                                u"    var names=[]\n"
                                u"    for (var l of hljs.listLanguages()) {\n"
                                u"      names.push(hljs.getLanguage(l).name);\n"
                                u"    }\n"
                                u"    return names\n"
                                u"  }\n"
                                u"}\n"
                                u"//module.exports=hljsHlp";

QString loadScript(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        AppLogger::error(QStringLiteral("cannot read ") + path);
        return {};
    }
    return QString::fromUtf8(file.readAll());
}

// Read once per process; every context evaluates the same texts.
const QString& coreScript()
{
    static const QString text = loadScript(QStringLiteral(":/highlightjs/HighlightCore.js"));
    return text;
}

const QString& languagesScript()
{
    static const QString text = loadScript(QStringLiteral(":/highlightjs/HighlightLanguages.js"));
    return text;
}

const QString& spansScript()
{
    static const QString text = loadScript(QStringLiteral(":/highlightjs/HighlightSpans.js"));
    return text;
}

QPointer<const Preferences> g_sharedPreferences;

} // namespace

void SyntaxHighlight::setSharedPreferences(const Preferences* preferences)
{
    g_sharedPreferences = preferences;
}

SyntaxHighlight& SyntaxHighlight::shared()
{
    // Never destroyed: the engine must not be torn down among the static destructors.
    static SyntaxHighlight* const instance = [] {
        auto* highlight = new SyntaxHighlight();
        highlight->setPreferences(g_sharedPreferences.data());
        return highlight;
    }();
    return *instance;
}

SyntaxHighlight::SyntaxHighlight()
    : m_defaultLanguage{QStringLiteral("plaintext"), QStringLiteral("Plain text")}
{
    // The context itself is not kept: the two values below keep it alive.
    JavaScriptContext context;
    // The Highlight.js core first, which registers the common languages; they are remembered
    // before the other grammars join them, for the restricted list.
    context.evaluate(coreScript(), QStringLiteral("highlight.min.js"));
    if (const auto common = context.globalValue(QStringLiteral("hljs"))
                                .invokeMethod(QStringLiteral("listLanguages"), {})
                                .toStringList())
        m_commonLanguages = QSet<QString>(common->cbegin(), common->cend());
    context.evaluate(languagesScript(), QStringLiteral("languages.min.js"));
    context.evaluate(QString::fromUtf16(helperScript), QStringLiteral("hljsHlp.js"));
    m_hljsValue = std::make_unique<JavaScriptValue>(context.globalValue(QStringLiteral("hljs")));
    m_hljsHelperValue =
        std::make_unique<JavaScriptValue>(context.globalValue(QStringLiteral("hljsHlp")));
    context.evaluate(spansScript(), QStringLiteral("HighlightSpans.js"));
    m_spansValue =
        std::make_unique<JavaScriptValue>(context.globalValue(QStringLiteral("hljsSpans")));
}

// The spans of the HTML as the context reports them: four numbers a span, in document order
// (depth among spans, start, end, class list number), and the class lists.
struct SyntaxHighlight::Spans
{
    static constexpr int fields = 4;
    QStringList classes;
    QList<qint32> numbers;
    qint32 deepest = -1;
};

SyntaxHighlight::~SyntaxHighlight() = default;

QList<Language> SyntaxHighlight::availableLanguages() const
{
    if (!m_hljsValue || !m_hljsValue->isValid())
        return {};
    const JavaScriptValue identifiers =
        m_hljsValue->invokeMethod(QStringLiteral("listLanguages"), {});
    if (!identifiers.isValid() || identifiers.isUndefined())
        return {};
    if (!m_hljsHelperValue || !m_hljsHelperValue->isValid())
        return {};
    const JavaScriptValue names =
        m_hljsHelperValue->invokeMethod(QStringLiteral("availableLanguages"), {});

    const std::optional<QStringList> identifierList = identifiers.toStringList();
    const std::optional<QStringList> nameList = names.toStringList();
    if (!identifierList || !nameList || identifierList->size() != nameList->size())
        return {};

    const bool restricted =
        m_preferences && m_preferences->boolean(Preferences::Identifier::restrictSyntaxHighlight);
    QList<Language> languages;
    languages.reserve(identifierList->size());
    for (qsizetype i = 0; i < identifierList->size(); ++i) {
        if (restricted && !m_commonLanguages.contains(identifierList->at(i)))
            continue;
        languages.append(Language{identifierList->at(i), nameList->at(i)});
    }
    return languages;
}

void SyntaxHighlight::setPreferences(const Preferences* preferences)
{
    m_preferences = preferences;
}

QString SyntaxHighlight::languageIdentifier(const QString& displayName) const
{
    for (const Language& language : availableLanguages()) {
        if (language.displayName == displayName)
            return language.identifier;
    }
    return m_defaultLanguage.identifier;
}

QString SyntaxHighlight::languageDisplayName(const QString& identifier) const
{
    for (const Language& language : availableLanguages()) {
        if (language.identifier == identifier)
            return language.displayName;
    }
    return m_defaultLanguage.displayName;
}

std::optional<QString> SyntaxHighlight::highlightedHTML(const QString& code,
                                                        const QString& language) const
{
    if (!m_hljsValue || !m_hljsValue->isValid())
        return std::nullopt;
    const JavaScriptValue result =
        language.isEmpty() ? m_hljsValue->invokeMethod(QStringLiteral("highlightAuto"), {code})
                           : m_hljsValue->invokeMethod(QStringLiteral("highlight"),
                                                       {language, code, m_ignoreIllegals});
    if (!result.isValid() || result.isUndefined())
        return std::nullopt;
    const JavaScriptValue value = result.property(QStringLiteral("value"));
    if (!value.isString())
        return std::nullopt;
    return value.toString();
}

std::optional<SyntaxHighlight::Spans>
SyntaxHighlight::highlightedSpans(const QString& code, const QString& language) const
{
    if (!m_spansValue || !m_spansValue->isValid())
        return std::nullopt;
    const JavaScriptValue result =
        m_spansValue->invokeMethod(QStringLiteral("highlight"), {language, code, m_ignoreIllegals});
    if (!result.isValid() || result.isUndefined())
        return std::nullopt;
    std::optional<QStringList> classes = result.property(QStringLiteral("classes")).toStringList();
    std::optional<QList<qint32>> numbers = result.property(QStringLiteral("spans")).toInt32List();
    if (!classes || !numbers || numbers->size() % Spans::fields != 0)
        return std::nullopt;
    // Anything out of place sends the caller back to the HTML rather than colouring wrongly.
    qint32 deepest = -1;
    for (qsizetype i = 0; i < numbers->size(); i += Spans::fields) {
        const qint32 depth = numbers->at(i);
        const qint32 start = numbers->at(i + 1);
        const qint32 end = numbers->at(i + 2);
        const qint32 classNumber = numbers->at(i + 3);
        if (depth < 0 || start < 0 || end < start || end > code.size() || classNumber < 0 ||
            classNumber >= classes->size())
            return std::nullopt;
        deepest = std::max(deepest, depth);
    }
    for (QString& name : *classes)
        name = name.trimmed();
    return Spans{std::move(*classes), std::move(*numbers), deepest};
}

QList<HighlightRange> SyntaxHighlight::highlightRanges(const QString& code, const QString& language,
                                                       const ThemeAttributes& theme) const
{
    // Detection and text whose characters span several units go through the HTML.
    if (language.isEmpty() || !GraphemeCount::isOneUnitPerCharacter(code))
        return highlightRangesFromHTML(code, language, theme);
    const std::optional<Spans> spans = highlightedSpans(code, language);
    if (!spans)
        return highlightRangesFromHTML(code, language, theme);

    const QList<qint32>& numbers = spans->numbers;
    const qsizetype count = numbers.size() / Spans::fields;
    // Breadth-first is every depth in turn, each in document order.
    std::vector<qsizetype> firstOfDepth(size_t(spans->deepest + 2), 0);
    for (qsizetype i = 0; i < count; ++i)
        ++firstOfDepth[size_t(numbers[i * Spans::fields] + 1)];
    for (size_t depth = 1; depth < firstOfDepth.size(); ++depth)
        firstOfDepth[depth] += firstOfDepth[depth - 1];
    std::vector<qsizetype> order(static_cast<size_t>(count));
    for (qsizetype i = 0; i < count; ++i)
        order[size_t(firstOfDepth[size_t(numbers[i * Spans::fields])]++)] = i;

    QList<HighlightRange> ranges;
    ranges.reserve(count + 1);
    ranges.append({TextRange{0, int(code.size())}, defaultAttributes(theme)});
    std::vector<std::optional<TextAttributes>> attributesOfClasses(size_t(spans->classes.size()));
    for (const qsizetype span : order) {
        const qint32* fields = numbers.constData() + span * Spans::fields;
        if (spans->classes[fields[3]].isEmpty())
            continue;
        std::optional<TextAttributes>& attributes = attributesOfClasses[size_t(fields[3])];
        if (!attributes)
            attributes = classAttributes(spans->classes[fields[3]], theme);
        ranges.append({TextRange{fields[1], fields[2] - fields[1]}, *attributes});
    }
    return ranges;
}

QList<HighlightRange> SyntaxHighlight::highlightRangesFromHTML(const QString& code,
                                                               const QString& language,
                                                               const ThemeAttributes& theme) const
{
    const std::optional<QString> html = highlightedHTML(code, language);
    if (!html)
        return {};
    QString text;
    const std::unique_ptr<ClassRangeNode> root = HighlightedHTMLParser::parse(*html, text);
    if (!root)
        return {};

    QList<HighlightRange> ranges;
    ranges.append({TextRange{0, int(code.size())}, defaultAttributes(theme)});

    // The same class lists come back again and again; each is resolved once per call.
    QHash<QString, TextAttributes> attributesOfClasses;
    std::deque<const ClassRangeNode*> queue;
    for (const auto& child : root->children())
        queue.push_back(child.get());
    while (!queue.empty()) {
        const ClassRangeNode* node = queue.front();
        queue.pop_front();
        for (const auto& child : node->children())
            queue.push_back(child.get());
        if (node->classes().isEmpty())
            continue;
        auto known = attributesOfClasses.constFind(node->classes());
        if (known == attributesOfClasses.cend())
            known = attributesOfClasses.insert(node->classes(),
                                               classAttributes(node->classes(), theme));
        ranges.append({node->range(), *known});
    }
    return ranges;
}

std::optional<HighlightAttributedString>
SyntaxHighlight::highlightAttributedString(const QString& code, const QString& language,
                                           const ThemeAttributes& theme) const
{
    const std::optional<QString> html = highlightedHTML(code, language);
    if (!html)
        return std::nullopt;
    QString text;
    const std::unique_ptr<ClassRangeNode> root = HighlightedHTMLParser::parse(*html, text);
    HighlightAttributedString string(text);
    if (!root)
        return string;

    string.setAttributes(defaultAttributes(theme), TextRange{0, int(text.size())});
    // Depth-first, pre-order: an inner span merges over what its outer span set.
    std::vector<const ClassRangeNode*> stack;
    for (const auto& child : root->children()) {
        stack.push_back(child.get());
        while (!stack.empty()) {
            const ClassRangeNode* node = stack.back();
            stack.pop_back();
            string.addAttributes(classAttributes(node->classes(), theme), node->range());
            for (auto it = node->children().crbegin(); it != node->children().crend(); ++it)
                stack.push_back(it->get());
        }
    }
    return string;
}

HighlightFont SyntaxHighlight::font(const QList<ThemeAttributes::TextAttribute>& textAttributes,
                                    const ThemeAttributes& theme)
{
    HighlightFont font;
    font.size = theme.fontSize.value_or(13.0);
    font.name = theme.fontName.value_or(QString());
    // Other text attributes do not change the font.
    for (const ThemeAttributes::TextAttribute& attribute : textAttributes) {
        if (attribute.rawValue == u"bold")
            font.bold = true;
        else if (attribute.rawValue == u"italic")
            font.italic = true;
    }
    return font;
}

TextAttributes SyntaxHighlight::defaultAttributes(const ThemeAttributes& theme)
{
    TextAttributes attributes;
    attributes.font = font({}, theme);
    attributes.foregroundColor =
        theme.defaultAttributes.color.value_or(Color::fromString(QStringLiteral("#000000")));
    return attributes;
}

TextAttributes SyntaxHighlight::classAttributes(const QString& classes,
                                                const ThemeAttributes& theme)
{
    std::optional<Color> color;
    QList<ThemeAttributes::TextAttribute> textAttributes;
    for (QStringView name : QStringView(classes).split(u' ')) {
        // Sub-scope names such as "function_" after "hljs-title" are not styled.
        const std::optional<HLJSClassName> known = HLJSClassNames::fromRawValue(name);
        if (!known)
            continue;
        const ThemeAttributes::Attribute& attribute = theme.attributeFor(*known);
        if (attribute.color)
            color = attribute.color;
        textAttributes.append(attribute.textAttributes);
    }
    TextAttributes attributes;
    attributes.font = font(textAttributes, theme);
    attributes.foregroundColor = color;
    return attributes;
}
