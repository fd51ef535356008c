// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/GoldenFile.h"
#include "common/TestEnvironment.h"

#include "Model/Preferences.h"
#include "QuillonCommons/LogCapture.h"
#include "SyntaxHighlight/BuiltInThemes.h"
#include "SyntaxHighlight/CompiledPattern.h"
#include "SyntaxHighlight/GraphemeCount.h"
#include "SyntaxHighlight/HTMLEntities.h"
#include "SyntaxHighlight/HighlightedHTMLParser.h"
#include "SyntaxHighlight/JavaScriptContext.h"
#include "SyntaxHighlight/SyntaxHighlight.h"

#include <QDir>
#include <QFile>
#include <QTemporaryFile>
#include <QTextBoundaryFinder>

#include <cstdio>
#include <unistd.h>

namespace {

ThemeAttributes builtInTheme(const QString& name)
{
    const std::optional<ThemeAttributes> theme = BuiltInThemes::theme(name);
    if (!theme)
        qFatal("built-in theme %s is missing", qPrintable(name));
    return *theme;
}

// "classes{location, length}" for every node below the root, depth-first, to compare trees.
QString outline(const ClassRangeNode& node)
{
    QStringList parts;
    for (const auto& child : node.children()) {
        QString part = child->classes() + child->range().description();
        if (!child->children().empty())
            part += u'[' + outline(*child) + u']';
        parts.append(part);
    }
    return parts.join(u' ');
}

// Runs `action` with standard output sent to a file, and returns what reached it.
template <typename Action>
QByteArray captureStandardOutput(Action action)
{
    QTemporaryFile file;
    if (!file.open())
        qFatal("cannot create a temporary file");
    std::fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    dup2(file.handle(), STDOUT_FILENO);
    action();
    std::fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    file.seek(0);
    return file.readAll();
}

QString goldenFolder()
{
    return QStringLiteral(BRAMBLEWORTH_TEST_DATA_DIR "/SyntaxHighlight/golden");
}

// One line per range: its description, then the start of the text it covers, so that a
// change to a reference reads as a change to what got coloured.
QByteArray serialise(const QList<HighlightRange>& ranges, const QString& code)
{
    QByteArray lines;
    for (const HighlightRange& range : ranges) {
        QString covered = code.mid(range.range.location, range.range.length);
        if (covered.size() > 40)
            covered = covered.left(40) + QStringLiteral("…");
        covered.replace(u'\\', QStringLiteral("\\\\")).replace(u'\n', QStringLiteral("\\n"));
        lines += (range.description() + QStringLiteral(" \"") + covered + u'"').toUtf8() + '\n';
    }
    return lines;
}

// A data tag from a row's input, on one line.
QByteArray tag(QString text)
{
    return text.replace(u'\r', QStringLiteral("\\r"))
        .replace(u'\n', QStringLiteral("\\n"))
        .toUtf8();
}

const QStringList goldenThemes = {QStringLiteral("default"), QStringLiteral("monokai")};

} // namespace

class TestSyntaxHighlight : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void availableLanguages_data();
    void availableLanguages();

    void plaintextUnknownAndDetectedLanguages();
    void javaScriptMessagesGoToTheDebugLog();
    void instancesAreIndependent();

    void decodeEntities_data();
    void decodeEntities();
    void parseHTML_data();
    void parseHTML();
    void characterCount_data();
    void characterCount();
    void unitsThatStandAloneNeverJoin();
    void compiledPatterns();
    void descriptions();

    void classAttributes_data();
    void classAttributes();
    void fontsAndDefaultAttributes();

    void attributedStringMergesInnerSpans();
    void attributedStringRuns();

    void golden_data();
    void golden();
    void spansAgreeWithTheHTML_data();
    void spansAgreeWithTheHTML();
    void spansSkipTheHTML();

private:
    std::unique_ptr<SyntaxHighlight> m_highlight;
    ThemeAttributes m_default;
};

void TestSyntaxHighlight::initTestCase()
{
    m_highlight = std::make_unique<SyntaxHighlight>();
    m_highlight->setPreferences(&Preferences::shared());
    m_default = builtInTheme(QStringLiteral("default"));
}

void TestSyntaxHighlight::cleanup()
{
    Preferences::shared().remove(
        Preferences::key(Preferences::Identifier::restrictSyntaxHighlight));
}

void TestSyntaxHighlight::availableLanguages_data()
{
    QTest::addColumn<QVariant>("restricted");
    QTest::addColumn<int>("count");
    QTest::newRow("not set") << QVariant() << 192;
    QTest::newRow("off") << QVariant(false) << 192;
    QTest::newRow("on") << QVariant(true) << 36;
}

void TestSyntaxHighlight::availableLanguages()
{
    QFETCH(QVariant, restricted);
    QFETCH(int, count);
    if (restricted.isValid())
        Preferences::shared().setValue(Preferences::Identifier::restrictSyntaxHighlight,
                                       restricted);

    const bool full = count == 192;
    const QList<Language> languages = m_highlight->availableLanguages();
    QCOMPARE(languages.size(), count);
    QVERIFY(languages.contains(Language{"plaintext", "Plain text"}));
    QVERIFY(languages.contains(Language{"bash", "Bash"}));
    QVERIFY(languages.contains(Language{"python", "Python"}));
    // Rare grammars come only with the full set.
    QCOMPARE(languages.contains(Language{"cos", "Caché Object Script"}), full);
    QSet<QString> identifiers;
    for (const Language& language : languages)
        identifiers.insert(language.identifier);
    QCOMPARE(identifiers.size(), languages.size());

    // Names match exactly; what is not found, a rare grammar under the restricted set
    // included, is plain text.
    const std::tuple<const char*, const char*, bool> lookups[] = {{"Bash", "bash", true},
                                                                  {"C++", "cpp", true},
                                                                  {"Fortran", "fortran", full},
                                                                  {"Klingon", "klingon", false},
                                                                  {"bash", "BASH", false}};
    for (const auto& [name, identifier, found] : lookups) {
        QCOMPARE(m_highlight->languageIdentifier(name), found ? identifier : "plaintext");
        QCOMPARE(m_highlight->languageDisplayName(identifier), found ? name : "Plain text");
    }
}

void TestSyntaxHighlight::plaintextUnknownAndDetectedLanguages()
{
    const QList<HighlightRange> empty =
        m_highlight->highlightRanges(QString(), QStringLiteral("plaintext"), m_default);
    QCOMPARE(empty.size(), 1);
    QCOMPARE(empty[0].range, (TextRange{0, 0}));
    QCOMPARE(empty[0].attributes, SyntaxHighlight::defaultAttributes(m_default));
    QCOMPARE(empty[0].attributes.foregroundColor->toString(), QStringLiteral("#444444"));

    LogCapture capture;
    const QString x = QStringLiteral("x = 1");
    QVERIFY(m_highlight->highlightRanges(x, QStringLiteral("klingon"), m_default).isEmpty());
    QVERIFY(!m_highlight->highlightAttributedString(x, QStringLiteral("klingon"), m_default));
    QVERIFY(capture.contains(LogLevel::debug,
                             QStringLiteral("jsContext exception: Error: Unknown language: "
                                            "\"klingon\"")));

    // No language: Highlight.js picks one, here the same as naming it.
    const QString code = QStringLiteral("#!/usr/bin/env python3\nimport sys\n\n"
                                        "def main(argv):\n    print(\"hello\", argv[1:])\n"
                                        "    return 0\n\nclass Greeter(object):\n    pass\n");
    const QList<HighlightRange> detected = m_highlight->highlightRanges(code, {}, m_default);
    QVERIFY(detected.size() > 5);
    QCOMPARE(detected, m_highlight->highlightRanges(code, QStringLiteral("python"), m_default));
}

void TestSyntaxHighlight::javaScriptMessagesGoToTheDebugLog()
{
    // Highlight.js announces the deprecated three-argument call through console.log once per
    // context, so a fresh instance is needed to see it.
    LogCapture capture;
    std::optional<QString> html;
    const QByteArray printed = captureStandardOutput([&] {
        SyntaxHighlight fresh;
        html = fresh.highlightedHTML(QStringLiteral("echo hi"), QStringLiteral("bash"));
        JavaScriptContext context;
        context.evaluate(QStringLiteral("console.log('one', 2); console.warn('three');"
                                        "console.error({toString() { return 'four' }})"));
    });
    QCOMPARE(printed, QByteArray());
    QVERIFY(html && html->contains(QStringLiteral("hljs-built_in")));
    bool deprecationSeen = false;
    for (const QString& message : capture.messages(LogLevel::debug))
        deprecationSeen |= message.startsWith(QStringLiteral("jsContext console: Deprecated"));
    QVERIFY(deprecationSeen);
    QVERIFY(capture.contains(LogLevel::debug, QStringLiteral("jsContext console: one 2")));
    QVERIFY(capture.contains(LogLevel::debug, QStringLiteral("jsContext console: three")));
    QVERIFY(capture.contains(LogLevel::debug, QStringLiteral("jsContext console: four")));

    // Exceptions are logged and contained.
    JavaScriptContext context;
    QVERIFY(!context.evaluate(QStringLiteral("throw new TypeError('boom')")).isValid());
    QVERIFY(!context.evaluate(QStringLiteral("throw undefined")).isValid());
    QVERIFY(!context.evaluate(QStringLiteral("this is not javascript")).isValid());
    const QStringList messages = capture.messages(LogLevel::debug);
    QVERIFY(messages.contains(QStringLiteral("jsContext exception: TypeError: boom")));
    QVERIFY(messages.contains(QStringLiteral("jsContext exception: undefined")));
    QCOMPARE(messages.filter(QStringLiteral("jsContext exception: SyntaxError")).size(), 1);

    // Values keep their context alive and convert strictly.
    JavaScriptValue list;
    {
        JavaScriptContext scoped;
        scoped.evaluate(QStringLiteral("var list = ['a', 'b'], mixed = ['a', 1]"));
        list = scoped.globalValue(QStringLiteral("list"));
        QCOMPARE(scoped.globalValue(QStringLiteral("mixed")).toStringList(), std::nullopt);
        QCOMPARE(scoped.globalValue(QStringLiteral("missing")).isUndefined(), true);
    }
    QCOMPARE(list.toStringList(), QStringList({"a", "b"}));
    QCOMPARE(list.invokeMethod(QStringLiteral("join"), {QStringLiteral("+")}).toString(),
             QStringLiteral("a+b"));
    QVERIFY(!list.invokeMethod(QStringLiteral("noSuchMethod"), {}).isValid());
}

void TestSyntaxHighlight::instancesAreIndependent()
{
    // Python's grammar calls a return annotation illegal; without ignoring illegal text
    // Highlight.js gives the code back unstyled. The setting stays with its instance.
    const QString code = QStringLiteral("def describe(self) -> str:\n    return 'x'\n");
    SyntaxHighlight first;
    SyntaxHighlight second;
    QCOMPARE(first.ignoreIllegals(), false);
    first.setIgnoreIllegals(true);
    QVERIFY(first.highlightRanges(code, QStringLiteral("python"), m_default).size() > 3);
    QCOMPARE(second.highlightRanges(code, QStringLiteral("python"), m_default).size(), 1);
    QCOMPARE(first.availableLanguages(), m_highlight->availableLanguages());
    QCOMPARE(&SyntaxHighlight::shared(), &SyntaxHighlight::shared());
}

void TestSyntaxHighlight::decodeEntities_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("decoded");
    const std::pair<QString, QString> rows[] = {
        {"a &lt; b", "a < b"},
        {"a &#60; b", "a < b"},
        {"a &#x3C; b", "a < b"},
        {"&#x3c;&#xe9;", "<é"},
        {"&amp;&lt;&gt;&quot;&#x27;&apos;", "&<>\"''"},
        {"&LT; &Eacute;&eacute;", "&LT; Éé"},
        {"&#x10FFFF;", QString::fromUcs4(U"\U0010FFFF")},
        {"&#x1F600;&#128512;", QString::fromUcs4(U"\U0001F600\U0001F600")},
        {"&hearts;&#60;&#x3E;x&nbsp;&euro;", QString::fromUcs4(U"\u2665<>x\u00A0\u20AC")},
        {QString::fromUcs4(U"&lt; \U0001F600"), QString::fromUcs4(U"< \U0001F600")}};
    for (const auto& [text, decoded] : rows)
        QTest::newRow(tag(text)) << text << decoded;
    // Kept as written: unknown or unterminated names, surrogates, values beyond Unicode or
    // 32 bits, and a reference the character count cuts off (the search stops one unit short
    // for each wide character before it).
    for (const QString& text :
         {QStringLiteral("&bogus; &lt"), QStringLiteral("&#xD800; &#57343;"),
          QStringLiteral("&#x110000; &#1114112;"), QStringLiteral("&#99999999999;"),
          QStringLiteral("plain text"), QString(), QString::fromUcs4(U"\U0001F600 &lt;")})
        QTest::newRow(tag(text)) << text << text;
}

void TestSyntaxHighlight::decodeEntities()
{
    QFETCH(QString, text);
    QFETCH(QString, decoded);
    QCOMPARE(HTMLEntities::decode(text), decoded);
    QCOMPARE(HTMLEntities::namedEntityCount(), 253);
}

void TestSyntaxHighlight::parseHTML_data()
{
    QTest::addColumn<QString>("html");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("tree");
    QTest::addColumn<QString>("error");
    auto row = [](const QString& html, const QString& text, const char* tree,
                  const char* error = "") {
        QTest::newRow(tag(html)) << html << text << tree << error;
    };
    row("echo a &lt; b", "echo a < b", "");
    row("", "", "");
    row("<span class=\"hljs-keyword\">if</span> x", "if x", "hljs-keyword{0, 2}");
    row("a<span class=\"hljs-string\">&quot;b<span class=\"hljs-subst\">$(c)</span>d&quot;"
        "</span>e",
        "a\"b$(c)d\"e", "hljs-string{1, 8}[hljs-subst{3, 4}]");
    // Classes are trimmed; blank ones make a node without classes.
    row("<span class=\" hljs-title function_\n\">f</span>", "f", "hljs-title function_{0, 1}");
    row("<span class=\" \">x</span>y", "xy", "{0, 1}");
    // An empty class attribute or an unknown tag stops the parse; the rest goes in as written.
    row("a<span class=\"\">b&lt;</span><span class=\"hljs-number\">1</span>",
        "a<span class=\"\">b&lt;</span><span class=\"hljs-number\">1</span>", "");
    row("a<b>c</b>", "a<b>c</b>", "");
    // After the root closes, a span belongs to no tree; closing past it is an error.
    row("a</span><span class=\"x\">b</span>", "ab", "");
    row("a</span>b</span>c", "ab", nullptr, "found end span but no start");
    row("</span><span class=\"x\">a</span></span>", "a", nullptr, "found end span but no start");
    row("<span class=\"hljs-comment\"></span>x", "x", "hljs-comment{0, 0}");
    row("<span class=\"hljs-comment\"># x", "# x", "hljs-comment{0, 0}");
    // Searches stop at the character count: one wide character leaves one unit unsearched,
    // and what is left of the searched stretch (the start of the closing tag) goes in as it
    // stands.
    row(QString::fromUcs4(U"<span class=\"hljs-string\">&quot;\U0001F600&quot;</span>"),
        QString::fromUcs4(U"\"\U0001F600&quot;</span"), "hljs-string{0, 0}");
    row(QString::fromUcs4(U"\U0001F600 x &amp; y"), QString::fromUcs4(U"\U0001F600 x & "), "");
    // A surrogate pair cut by the search keeps its first half.
    row(QString::fromUcs4(U"a\U0001F600"), QString::fromUcs4(U"a\U0001F600").left(2), "");
    // A carriage return and line feed count once.
    row("a\r\n<span class=\"hljs-number\">1</span>", "a\r\n1</span", "hljs-number{3, 0}");
}

void TestSyntaxHighlight::parseHTML()
{
    QFETCH(QString, html);
    QFETCH(QString, text);
    QFETCH(QString, tree);
    QFETCH(QString, error);
    LogCapture capture;
    QString rebuilt = QStringLiteral("stale");
    const std::unique_ptr<ClassRangeNode> root = HighlightedHTMLParser::parse(html, rebuilt);
    QCOMPARE(rebuilt, text);
    QCOMPARE(capture.messages(LogLevel::error),
             error.isEmpty() ? QStringList() : QStringList{error});
    QCOMPARE(bool(root), error.isEmpty());
    if (!root)
        return;
    QCOMPARE(outline(*root), tree);
    QCOMPARE(root->classes(), QString());
    QCOMPARE(root->range().location, 0);
}

void TestSyntaxHighlight::characterCount_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("count");
    // Grapheme clusters: a combining accent, a surrogate pair, a joined family, a flag and a
    // carriage return before a line feed each count once.
    const std::pair<QString, int> rows[] = {
        {"abc", 3},
        {QString::fromUcs4(U"caf\u00E9 \u00FC"), 6},
        {QString::fromUcs4(U"cafe\u0301"), 4},
        {QString::fromUcs4(U"a\U0001F600b"), 3},
        {QString::fromUcs4(U"\U0001F468\u200D\U0001F469\u200D\U0001F467"), 1},
        {QString::fromUcs4(U"\U0001F1EB\U0001F1F7"), 1},
        {"a\r\nb\n\rc", 6},
        {"", 0}};
    for (const auto& [text, count] : rows)
        QTest::newRow(tag(text)) << text << count;
}

void TestSyntaxHighlight::characterCount()
{
    QFETCH(QString, text);
    QFETCH(int, count);
    QCOMPARE(GraphemeCount::characterCount(text), count);
}

void TestSyntaxHighlight::unitsThatStandAloneNeverJoin()
{
    // Whatever the shortcut lets through must be one character beside anything else it lets
    // through and beside the markup and line ends of the HTML, by the boundary rules the slow
    // count itself uses.
    auto clusters = [](const QString& text) {
        QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
        int count = 0;
        while (finder.toNextBoundary() >= 0)
            ++count;
        return count;
    };
    QList<QChar> alone;
    for (char32_t code = 0; code <= 0xFFFF; ++code) {
        if (GraphemeCount::isOneUnitPerCharacter(QString(QChar(code))))
            alone.append(QChar(code));
    }
    QVERIFY2(alone.size() > 40000, qPrintable(QString::number(alone.size())));
    for (qsizetype i = 0; i < alone.size(); ++i) {
        const QChar unit = alone[i];
        const QChar other = alone[(i * 7919) % alone.size()];
        for (const QString& text :
             {QString(u'a') + unit + u'a', QString(unit) + unit, QString(u'>') + unit + u'<',
              QString(u'\r') + unit + u'\n', QString(unit) + other + unit}) {
            // Only a carriage return right before a line feed is turned away by position.
            if (GraphemeCount::isOneUnitPerCharacter(text) && clusters(text) != text.size())
                QFAIL(qPrintable(QStringLiteral("U+%1 joins a neighbour in \"%2\"")
                                     .arg(unit.unicode(), 4, 16, QChar(u'0'))
                                     .arg(text)));
        }
    }
    // Characters that join: an accent, a joiner, Hangul, half a surrogate pair, a Thai vowel
    // the rules treat as a mark, a half-width sound mark.
    for (char16_t joins :
         {u'\u0301', u'\u200D', u'\uAC00', u'\u1100', char16_t(0xD83D), u'\u0E33', u'\uFF9E'})
        QVERIFY(!GraphemeCount::isOneUnitPerCharacter(QString(QChar(joins))));
    QVERIFY(!GraphemeCount::isOneUnitPerCharacter(u"a\r\nb"));
    QVERIFY(GraphemeCount::isOneUnitPerCharacter(u"a\n\rb\r"));
}

void TestSyntaxHighlight::compiledPatterns()
{
    CompiledPattern broken(u"(unclosed");
    QVERIFY(!broken.isValid());
    QVERIFY(broken.errorString().contains(u"at 9"));
    QVERIFY(!broken.match(u"unclosed"));

    // Captures are positions in the whole subject, also when the search starts further on; a
    // group that took no part reads as absent rather than empty.
    CompiledPattern pattern(u"(a)|(b+)");
    const QString subject = QStringLiteral("xabbb");
    QVERIFY(pattern.match(subject, 2));
    QCOMPARE(pattern.capturedStart(), 2);
    QCOMPARE(pattern.capturedView(2), u"bbb");
    QVERIFY(!pattern.hasCaptured(1));
    QVERIFY(pattern.capturedView(1).isNull());
    QVERIFY(!pattern.match(subject, 6));
    QVERIFY(!pattern.hasCaptured(0));

    // Code units, not code points: a lone surrogate half is an ordinary unit to match.
    CompiledPattern text(u"^[^<]+");
    const QString cut = QStringLiteral("a\U0001F600").left(2);
    QVERIFY(text.match(cut));
    QCOMPARE(text.capturedLength(), 2);

    CompiledPattern unicodeWord(u"^\\w+$", CompiledPattern::Classes::unicode);
    CompiledPattern asciiWord(u"^\\w+$");
    QVERIFY(unicodeWord.match(u"caf\u00e9"));
    QVERIFY(!asciiWord.match(u"caf\u00e9"));
}

void TestSyntaxHighlight::descriptions()
{
    QString text;
    const std::unique_ptr<ClassRangeNode> root = HighlightedHTMLParser::parse(
        QStringLiteral("<span class=\"hljs-string\">a<span class=\"hljs-subst\">b</span></span>"),
        text);
    QVERIFY(root);
    const ClassRangeNode& string = *root->children().front();
    const ClassRangeNode& subst = *string.children().front();
    auto identity = [](const void* node) {
        return QStringLiteral("0x") + QString::number(quintptr(node), 16).toUpper();
    };
    QCOMPARE(subst.description(),
             QStringLiteral("<ClassRangeNode:%1: classes=hljs-subst, range={1, 1}, children=(\n)"
                            ", parent=%2>")
                 .arg(identity(&subst), identity(&string)));
    QVERIFY(root->description().endsWith(QStringLiteral(", parent=0x0>")));
    QVERIFY(string.description().contains(QStringLiteral("children=(\n    <ClassRangeNode:") +
                                          identity(&subst)));
    // The golden references hold the descriptions of ranges with attributes.
    QCOMPARE(HighlightRange{}.description(),
             QStringLiteral("<HighlightRange: range: {0, 0}, attributes:{}>"));
}

void TestSyntaxHighlight::classAttributes_data()
{
    QTest::addColumn<QString>("classes");
    QTest::addColumn<QString>("attributes");
    const QString title =
        QStringLiteral("{NSColor = #880000; NSFont = name: system-ui, size:13.0 bold}");
    const std::pair<const char*, QString> rows[] = {
        {"hljs-title", title},
        // Sub-scopes are skipped, and a double blank is no class.
        {"hljs-title function_", title},
        {"hljs-string  hljs-title", title},
        {"hljs-keyword", "{NSFont = name: system-ui, size:13.0 bold}"},
        // addition has no entry in "default", so it takes the default attributes, whose colour
        // wins over the keyword's absent one.
        {"hljs-keyword hljs-addition",
         "{NSColor = #444444; NSFont = name: system-ui, size:13.0 bold}"},
        // A later colour replaces an earlier one; text attributes add up.
        {"hljs-comment hljs-string", "{NSColor = #880000; NSFont = name: system-ui, size:13.0}"},
        {"hljs-emphasis hljs-strong", "{NSFont = name: system-ui, size:13.0 bold italic}"},
        {"hljs", "{NSColor = #444444; NSFont = name: system-ui, size:13.0}"},
        {"function_ hljs-subst language_", "{NSFont = name: system-ui, size:13.0}"}};
    for (const auto& [classes, attributes] : rows)
        QTest::newRow(classes) << classes << attributes;
}

void TestSyntaxHighlight::classAttributes()
{
    QFETCH(QString, classes);
    QFETCH(QString, attributes);
    QCOMPARE(SyntaxHighlight::classAttributes(classes, m_default).description(), attributes);
}

void TestSyntaxHighlight::fontsAndDefaultAttributes()
{
    ThemeAttributes theme = m_default;
    theme.fontName = QStringLiteral("DejaVu Sans Mono");
    theme.fontSize = 15.5;
    const HighlightFont font =
        SyntaxHighlight::font({{QStringLiteral("italic")}, {QStringLiteral("underline")}}, theme);
    QCOMPARE(font, (HighlightFont{QStringLiteral("DejaVu Sans Mono"), 15.5, false, true}));
    QCOMPARE(font.description(), QStringLiteral("name: DejaVu Sans Mono, size:15.5"));
    QCOMPARE(SyntaxHighlight::font({}, m_default), m_highlight->defaultFont());
    QCOMPARE(m_highlight->defaultFont().description(),
             QStringLiteral("name: system-ui, size:13.0"));

    // A theme without a default colour still paints its text, black.
    const TextAttributes attributes = SyntaxHighlight::defaultAttributes(ThemeAttributes());
    QCOMPARE(attributes.foregroundColor, Color::fromString(QStringLiteral("#000000")));
    QCOMPARE(attributes.font, SyntaxHighlight::font({}, ThemeAttributes()));
}

void TestSyntaxHighlight::attributedStringMergesInnerSpans()
{
    // "$(…)" is a substitution inside a string: its class gives no colour, so the list form
    // carries the font alone there (see the golden references) while the string form keeps
    // the string's colour.
    const QString code = QStringLiteral("echo \"a $(date) b\"\n");
    const std::optional<HighlightAttributedString> string =
        m_highlight->highlightAttributedString(code, QStringLiteral("bash"), m_default);
    QVERIFY(string);
    QCOMPARE(string->text(), code);
    const int inside = int(code.indexOf(u"date"));
    const TextAttributes attributes = string->attributesAt(inside);
    QCOMPARE(attributes.foregroundColor->toString(), QStringLiteral("#880000"));
    QCOMPARE(string->attributesAt(0).foregroundColor->toString(), QStringLiteral("#397300"));
    QCOMPARE(string->attributesAt(int(code.size()) - 1),
             SyntaxHighlight::defaultAttributes(m_default));
}

void TestSyntaxHighlight::attributedStringRuns()
{
    HighlightAttributedString string(QStringLiteral("0123456789"));
    TextAttributes red;
    red.foregroundColor = Color::fromString(QStringLiteral("#FF0000"));
    TextAttributes bold;
    bold.font = HighlightFont{QString(), 13.0, true, false};
    TextAttributes both = red;
    both.merge(bold);

    string.addAttributes(bold, TextRange{2, 2});
    QCOMPARE(string.runs().size(), 1);
    string.setAttributes(red, TextRange{0, 10});
    QCOMPARE(string.runs().size(), 1);
    string.addAttributes(bold, TextRange{3, 4});
    string.setAttributes(bold, TextRange{8, 5});
    QCOMPARE(string.attributesAt(2), red);
    QCOMPARE(string.attributesAt(3), both);
    QCOMPARE(string.attributesAt(6), both);
    QCOMPARE(string.attributesAt(7), red);
    QCOMPARE(string.attributesAt(8), bold);
    QCOMPARE(string.attributesAt(12), bold);
    QCOMPARE(string.attributesAt(13), TextAttributes());
    int covered = 0;
    for (const HighlightRange& run : string.runs()) {
        QCOMPARE(run.range.location, covered);
        covered = run.range.end();
    }
    QCOMPARE(covered, 13);
}

void TestSyntaxHighlight::golden_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("theme");
    const QDir inputs(goldenFolder() + QStringLiteral("/input"));
    const QStringList files = inputs.entryList(QDir::Files, QDir::Name);
    QVERIFY(files.size() >= 6);
    for (const QString& file : files) {
        for (const QString& theme : goldenThemes)
            QTest::addRow("%s %s", qPrintable(file), qPrintable(theme)) << file << theme;
    }
}

void TestSyntaxHighlight::golden()
{
    QFETCH(QString, input);
    QFETCH(QString, theme);
    const QString code =
        QString::fromUtf8(TestEnvironment::readFile(goldenFolder() + "/input/" + input));
    // The input's language is its file name's suffix: "deploy.bash" is bash.
    const QList<HighlightRange> ranges =
        m_highlight->highlightRanges(code, input.section(u'.', -1), builtInTheme(theme));
    QVERIFY(ranges.size() > 1);
    const QByteArray actual = serialise(ranges, code);
    const QString name = input + '.' + theme + ".txt";
    BRAMBLEWORTH_COMPARE_GOLDEN(actual, goldenFolder() + "/reference/" + name,
                                TestEnvironment::outputFolder() + "/golden/" + name);
}

void TestSyntaxHighlight::spansAgreeWithTheHTML_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<bool>("ignoreIllegals");
    // Every grammar over text written in many others, so that embedded languages, illegal
    // lexemes, unclosed modes and deep nesting all come up somewhere.
    for (const Language& language : m_highlight->availableLanguages())
        QTest::addRow("%s", qPrintable(language.identifier)) << language.identifier << true;
    for (const char* language : {"bash", "python", "xml", "markdown", "json", "php"})
        QTest::addRow("%s strict", language) << QString::fromLatin1(language) << false;
}

void TestSyntaxHighlight::spansAgreeWithTheHTML()
{
    QFETCH(QString, language);
    QFETCH(bool, ignoreIllegals);
    static const QString sample = [] {
        QString text;
        const QDir inputs(goldenFolder() + QStringLiteral("/input"));
        for (const QString& file : inputs.entryList(QDir::Files, QDir::Name)) {
            const QString code =
                QString::fromUtf8(TestEnvironment::readFile(inputs.filePath(file)));
            if (GraphemeCount::isOneUnitPerCharacter(code))
                text += code;
        }
        // What the HTML escapes, an entity written out, controls, Latin-1 and an unclosed
        // string at the very end.
        text += QStringLiteral("\n<a href=\"x\">&amp; 'q' \"d\" &lt;</a>\t\u00e9\u00ff");
        text += QChar(0);
        text += QStringLiteral("\r \n\r<?php echo \"$x\"; ?>\n```js\nlet s = `a${b}`\n```\n\"open");
        return text;
    }();
    QVERIFY(GraphemeCount::isOneUnitPerCharacter(sample));

    m_highlight->setIgnoreIllegals(ignoreIllegals);
    LogCapture capture;
    const QList<HighlightRange> fromSpans =
        m_highlight->highlightRanges(sample, language, m_default);
    // A failing script would send every call back to the slower HTML without a word.
    QCOMPARE(capture.messages(LogLevel::debug).filter(QStringLiteral("exception")), QStringList());
    const QList<HighlightRange> fromHTML =
        m_highlight->highlightRangesFromHTML(sample, language, m_default);
    m_highlight->setIgnoreIllegals(false);
    QVERIFY(!fromHTML.isEmpty());
    if (fromSpans != fromHTML) {
        const QByteArray spans = serialise(fromSpans, sample);
        const QByteArray html = serialise(fromHTML, sample);
        const QList<QByteArray> spanLines = spans.split('\n');
        const QList<QByteArray> htmlLines = html.split('\n');
        qsizetype line = 0;
        while (line < spanLines.size() && line < htmlLines.size() &&
               spanLines[line] == htmlLines[line])
            ++line;
        qWarning("first difference at range %lld:\n  spans: %s\n  HTML:  %s", qlonglong(line),
                 spanLines.value(line).constData(), htmlLines.value(line).constData());
        QFAIL("the spans and the HTML give different ranges");
    }
}

void TestSyntaxHighlight::spansSkipTheHTML()
{
    // Highlight.js announces its three-argument call, the one that returns HTML, once per
    // context: a fresh context shows whether the HTML was asked for.
    const QString plain = QStringLiteral("echo \"caf\u00e9\" > /dev/null\n");
    {
        LogCapture capture;
        SyntaxHighlight fresh;
        QVERIFY(fresh.highlightRanges(plain, QStringLiteral("bash"), m_default).size() > 1);
        QVERIFY(capture.messages(LogLevel::debug).filter(QStringLiteral("Deprecated")).isEmpty());
    }
    // A combining accent and a CR LF pair make characters of several units: the HTML decides.
    for (const QString& joined :
         {QStringLiteral("echo \"cafe\u0301\"\n"), QStringLiteral("echo \"cafe\"\r\n")}) {
        LogCapture capture;
        SyntaxHighlight fresh;
        QVERIFY(fresh.highlightRanges(joined, QStringLiteral("bash"), m_default).size() > 1);
        QVERIFY(!capture.messages(LogLevel::debug).filter(QStringLiteral("Deprecated")).isEmpty());
    }
}

BRAMBLEWORTH_TEST_MAIN(TestSyntaxHighlight)
#include "test_syntaxhighlight.moc"
