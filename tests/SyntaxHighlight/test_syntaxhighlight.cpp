// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/TestEnvironment.h"

#include "App/Preferences.h"
#include "QuillonCommons/LogCapture.h"
#include "SyntaxHighlight/BuiltInThemes.h"
#include "SyntaxHighlight/HTMLEntities.h"
#include "SyntaxHighlight/HighlightedHTMLParser.h"
#include "SyntaxHighlight/JavaScriptContext.h"
#include "SyntaxHighlight/SyntaxHighlight.h"

#include <QDir>
#include <QFile>
#include <QTemporaryFile>

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

// The parent of every node of a tree, to check nesting against the flat list.
void collectNodes(const ClassRangeNode& node, QList<const ClassRangeNode*>& nodes)
{
    for (const auto& child : node.children()) {
        nodes.append(child.get());
        collectNodes(*child, nodes);
    }
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

// The golden input's language is its file name's suffix: "heredocs.bash" is bash.
QString goldenLanguage(const QString& fileName)
{
    return fileName.section(u'.', -1);
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
    void languageLookups_data();
    void languageLookups();

    void emptyPlaintextGivesOneDefaultRange();
    void emptyLanguageDetectsTheLanguage();
    void unknownLanguageGivesNothing();
    void ignoreIllegalsReachesHighlightJS();
    void consoleGoesToTheDebugLog();
    void exceptionsAreLoggedAndContained();
    void instancesAreIndependent();

    void decodeEntities_data();
    void decodeEntities();
    void parseHTML_data();
    void parseHTML();
    void parseFailures_data();
    void parseFailures();
    void characterCount_data();
    void characterCount();
    void nodeDescription();

    void classAttributes_data();
    void classAttributes();
    void fontFollowsTheTheme();
    void defaultAttributesWithoutColour();
    void descriptions();

    void nestedRangesComeLater();
    void attributedStringMergesInnerSpans();
    void attributedStringRuns();

    void golden_data();
    void golden();

private:
    std::unique_ptr<SyntaxHighlight> m_highlight;
    ThemeAttributes m_default;
};

void TestSyntaxHighlight::initTestCase()
{
    m_highlight = std::make_unique<SyntaxHighlight>();
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

    const QList<Language> languages = m_highlight->availableLanguages();
    QCOMPARE(languages.size(), count);
    QVERIFY(languages.contains(Language{"plaintext", "Plain text"}));
    QVERIFY(languages.contains(Language{"bash", "Bash"}));
    QVERIFY(languages.contains(Language{"python", "Python"}));
    // Rare grammars come only with the full set.
    QCOMPARE(languages.contains(Language{"cos", "Caché Object Script"}), count == 192);
    QSet<QString> identifiers;
    for (const Language& language : languages)
        identifiers.insert(language.identifier);
    QCOMPARE(identifiers.size(), languages.size());
}

void TestSyntaxHighlight::languageLookups_data()
{
    QTest::addColumn<bool>("restricted");
    QTest::addColumn<QString>("displayName");
    QTest::addColumn<QString>("identifier");
    QTest::addColumn<QString>("identifierFound");
    QTest::addColumn<QString>("displayNameFound");
    QTest::newRow("bash") << false << "Bash"
                          << "bash"
                          << "bash"
                          << "Bash";
    QTest::newRow("c++") << false << "C++"
                         << "cpp"
                         << "cpp"
                         << "C++";
    QTest::newRow("unknown name") << false << "Klingon"
                                  << "klingon"
                                  << "plaintext"
                                  << "Plain text";
    QTest::newRow("case matters") << false << "bash"
                                  << "BASH"
                                  << "plaintext"
                                  << "Plain text";
    QTest::newRow("rare, full set") << false << "Fortran"
                                    << "fortran"
                                    << "fortran"
                                    << "Fortran";
    QTest::newRow("rare, restricted") << true << "Fortran"
                                      << "fortran"
                                      << "plaintext"
                                      << "Plain text";
}

void TestSyntaxHighlight::languageLookups()
{
    QFETCH(bool, restricted);
    QFETCH(QString, displayName);
    QFETCH(QString, identifier);
    QFETCH(QString, identifierFound);
    QFETCH(QString, displayNameFound);
    Preferences::shared().setValue(Preferences::Identifier::restrictSyntaxHighlight, restricted);
    QCOMPARE(m_highlight->languageIdentifier(displayName), identifierFound);
    QCOMPARE(m_highlight->languageDisplayName(identifier), displayNameFound);
}

void TestSyntaxHighlight::emptyPlaintextGivesOneDefaultRange()
{
    const QList<HighlightRange> ranges =
        m_highlight->highlightRanges(QString(), QStringLiteral("plaintext"), m_default);
    QCOMPARE(ranges.size(), 1);
    QCOMPARE(ranges[0].range, (TextRange{0, 0}));
    QCOMPARE(ranges[0].attributes, SyntaxHighlight::defaultAttributes(m_default));
    QCOMPARE(ranges[0].attributes.foregroundColor->toString(), QStringLiteral("#444444"));
}

void TestSyntaxHighlight::emptyLanguageDetectsTheLanguage()
{
    const QString code = QStringLiteral("#!/usr/bin/env python3\nimport sys\n\n"
                                        "def main(argv):\n    print(\"hello\", argv[1:])\n"
                                        "    return 0\n\nclass Greeter(object):\n    pass\n");
    const QList<HighlightRange> detected = m_highlight->highlightRanges(code, {}, m_default);
    QVERIFY(detected.size() > 5);
    QCOMPARE(detected, m_highlight->highlightRanges(code, QStringLiteral("python"), m_default));
}

void TestSyntaxHighlight::unknownLanguageGivesNothing()
{
    LogCapture capture;
    QVERIFY(
        m_highlight->highlightRanges(QStringLiteral("x = 1"), QStringLiteral("klingon"), m_default)
            .isEmpty());
    QVERIFY(!m_highlight->highlightAttributedString(QStringLiteral("x = 1"),
                                                    QStringLiteral("klingon"), m_default));
    QVERIFY(capture.contains(LogLevel::debug,
                             QStringLiteral("jsContext exception: Error: Unknown language: "
                                            "\"klingon\"")));
}

void TestSyntaxHighlight::ignoreIllegalsReachesHighlightJS()
{
    // Python's grammar calls a return annotation illegal; without ignoring illegal text
    // Highlight.js gives the code back unstyled.
    const QString code = QStringLiteral("def describe(self) -> str:\n    return 'x'\n");
    SyntaxHighlight highlight;
    QCOMPARE(highlight.ignoreIllegals(), false);
    QCOMPARE(highlight.highlightRanges(code, QStringLiteral("python"), m_default).size(), 1);
    highlight.setIgnoreIllegals(true);
    QVERIFY(highlight.highlightRanges(code, QStringLiteral("python"), m_default).size() > 3);
}

void TestSyntaxHighlight::consoleGoesToTheDebugLog()
{
    // Highlight.js announces the deprecated three-argument call through console.log once per
    // context, so a fresh instance is needed to see it.
    LogCapture capture;
    QList<HighlightRange> ranges;
    const QByteArray printed = captureStandardOutput([&] {
        SyntaxHighlight fresh;
        ranges =
            fresh.highlightRanges(QStringLiteral("echo hi"), QStringLiteral("bash"), m_default);
        JavaScriptContext context;
        context.evaluate(QStringLiteral("console.log('one', 2); console.warn('three');"
                                        "console.error({toString() { return 'four' }})"));
    });
    QCOMPARE(printed, QByteArray());
    QVERIFY(ranges.size() > 1);
    bool deprecationSeen = false;
    for (const QString& message : capture.messages(LogLevel::debug))
        deprecationSeen |= message.startsWith(QStringLiteral("jsContext console: Deprecated"));
    QVERIFY(deprecationSeen);
    QVERIFY(capture.contains(LogLevel::debug, QStringLiteral("jsContext console: one 2")));
    QVERIFY(capture.contains(LogLevel::debug, QStringLiteral("jsContext console: three")));
    QVERIFY(capture.contains(LogLevel::debug, QStringLiteral("jsContext console: four")));
}

void TestSyntaxHighlight::exceptionsAreLoggedAndContained()
{
    LogCapture capture;
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
    // A context of its own per instance: a change to one Highlight.js does not reach another.
    SyntaxHighlight first;
    SyntaxHighlight second;
    const QString code = QStringLiteral("if true; then echo \"$HOME\"; fi\n");
    QCOMPARE(first.highlightRanges(code, QStringLiteral("bash"), m_default),
             second.highlightRanges(code, QStringLiteral("bash"), m_default));
    QCOMPARE(first.availableLanguages(), m_highlight->availableLanguages());
    QCOMPARE(&SyntaxHighlight::shared(), &SyntaxHighlight::shared());
}

void TestSyntaxHighlight::decodeEntities_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("decoded");
    QTest::newRow("named") << "a &lt; b"
                           << "a < b";
    QTest::newRow("decimal") << "a &#60; b"
                             << "a < b";
    QTest::newRow("hexadecimal") << "a &#x3C; b"
                                 << "a < b";
    QTest::newRow("hexadecimal, lower case") << "&#x3c;&#xe9;"
                                             << "<é";
    QTest::newRow("the escapes Highlight.js writes") << "&amp;&lt;&gt;&quot;&#x27;&apos;"
                                                     << "&<>\"''";
    QTest::newRow("unknown name kept") << "&bogus; &lt"
                                       << "&bogus; &lt";
    QTest::newRow("names are case-sensitive") << "&LT; &Eacute;&eacute;"
                                              << "&LT; Éé";
    QTest::newRow("surrogate kept") << "&#xD800; &#57343;"
                                    << "&#xD800; &#57343;";
    QTest::newRow("beyond Unicode kept") << "&#x110000; &#1114112;"
                                         << "&#x110000; &#1114112;";
    QTest::newRow("beyond 32 bits kept") << "&#99999999999;"
                                         << "&#99999999999;";
    QTest::newRow("last scalar") << "&#x10FFFF;" << QString::fromUcs4(U"\U0010FFFF");
    QTest::newRow("outside the basic plane")
        << "&#x1F600;&#128512;" << QString::fromUcs4(U"\U0001F600\U0001F600");
    QTest::newRow("several, replaced back to front")
        << "&hearts;&#60;&#x3E;x&nbsp;&euro;" << QString::fromUcs4(U"\u2665<>x\u00A0\u20AC");
    QTest::newRow("nothing to decode") << "plain text"
                                       << "plain text";
    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("reference cut by a wide character")
        << QString::fromUcs4(U"\U0001F600 &lt;") << QString::fromUcs4(U"\U0001F600 &lt;");
    QTest::newRow("reference before a wide character")
        << QString::fromUcs4(U"&lt; \U0001F600") << QString::fromUcs4(U"< \U0001F600");
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
    QTest::newRow("text only") << "echo a &lt; b"
                               << "echo a < b"
                               << "";
    QTest::newRow("empty") << ""
                           << ""
                           << "";
    QTest::newRow("one span") << "<span class=\"hljs-keyword\">if</span> x"
                              << "if x"
                              << "hljs-keyword{0, 2}";
    QTest::newRow("nested")
        << "a<span class=\"hljs-string\">&quot;b<span class=\"hljs-subst\">$(c)</span>d&quot;"
           "</span>e"
        << "a\"b$(c)d\"e"
        << "hljs-string{1, 8}[hljs-subst{3, 4}]";
    QTest::newRow("classes trimmed, several names")
        << "<span class=\" hljs-title function_\n\">f</span>"
        << "f"
        << "hljs-title function_{0, 1}";
    QTest::newRow("blank classes make a node without classes") << "<span class=\" \">x</span>y"
                                                               << "xy"
                                                               << "{0, 1}";
    QTest::newRow("empty class attribute stops the parse")
        << "a<span class=\"\">b&lt;</span><span class=\"hljs-number\">1</span>"
        << "a<span class=\"\">b&lt;</span><span class=\"hljs-number\">1</span>"
        << "";
    QTest::newRow("unknown tag stops the parse") << "a<b>c</b>"
                                                 << "a<b>c</b>"
                                                 << "";
    QTest::newRow("closing the root, then a span under no parent")
        << "a</span><span class=\"x\">b</span>"
        << "ab"
        << "";
    QTest::newRow("empty span") << "<span class=\"hljs-comment\"></span>x"
                                << "x"
                                << "hljs-comment{0, 0}";
    QTest::newRow("unclosed span keeps length 0") << "<span class=\"hljs-comment\"># x"
                                                  << "# x"
                                                  << "hljs-comment{0, 0}";
    // Searches stop at the character count: one wide character leaves one unit unsearched,
    // and what is left of the searched stretch (the start of the closing tag) goes in as it
    // stands.
    QTest::newRow("wide character cuts the search")
        << QString::fromUcs4(U"<span class=\"hljs-string\">&quot;\U0001F600&quot;</span>")
        << QString::fromUcs4(U"\"\U0001F600&quot;</span") << "hljs-string{0, 0}";
    QTest::newRow("wide character in plain text loses the tail")
        << QString::fromUcs4(U"\U0001F600 x &amp; y") << QString::fromUcs4(U"\U0001F600 x & ")
        << "";
    QTest::newRow("pair cut by the search keeps its first half")
        << QString::fromUcs4(U"a\U0001F600") << QString::fromUcs4(U"a\U0001F600").left(2) << "";
    QTest::newRow("carriage return and line feed count once")
        << "a\r\n<span class=\"hljs-number\">1</span>"
        << "a\r\n1</span"
        << "hljs-number{3, 0}";
}

void TestSyntaxHighlight::parseHTML()
{
    QFETCH(QString, html);
    QFETCH(QString, text);
    QFETCH(QString, tree);
    QString rebuilt = QStringLiteral("stale");
    const std::unique_ptr<ClassRangeNode> root = HighlightedHTMLParser::parse(html, rebuilt);
    QVERIFY(root);
    QCOMPARE(rebuilt, text);
    QCOMPARE(outline(*root), tree);
    QCOMPARE(root->classes(), QString());
    QCOMPARE(root->range().location, 0);
}

void TestSyntaxHighlight::parseFailures_data()
{
    QTest::addColumn<QString>("html");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("error");
    QTest::newRow("closing span after the root closed") << "a</span>b</span>c"
                                                        << "ab"
                                                        << "found end span but no start";
    QTest::newRow("closing span after a detached span closed")
        << "</span><span class=\"x\">a</span></span>"
        << "a"
        << "found end span but no start";
}

void TestSyntaxHighlight::parseFailures()
{
    QFETCH(QString, html);
    QFETCH(QString, text);
    QFETCH(QString, error);
    LogCapture capture;
    QString rebuilt;
    QVERIFY(!HighlightedHTMLParser::parse(html, rebuilt));
    QCOMPARE(rebuilt, text);
    QCOMPARE(capture.messages(LogLevel::error), QStringList{error});
}

void TestSyntaxHighlight::characterCount_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("count");
    QTest::newRow("ascii") << "abc" << 3;
    QTest::newRow("latin-1") << QString::fromUcs4(U"caf\u00E9 \u00FC") << 6;
    QTest::newRow("combining accent") << QString::fromUcs4(U"cafe\u0301") << 4;
    QTest::newRow("outside the basic plane") << QString::fromUcs4(U"a\U0001F600b") << 3;
    QTest::newRow("family emoji") << QString::fromUcs4(
                                         U"\U0001F468\u200D\U0001F469\u200D\U0001F467")
                                  << 1;
    QTest::newRow("flag") << QString::fromUcs4(U"\U0001F1EB\U0001F1F7") << 1;
    QTest::newRow("carriage return, line feed") << "a\r\nb\n\rc" << 6;
    QTest::newRow("empty") << "" << 0;
}

void TestSyntaxHighlight::characterCount()
{
    QFETCH(QString, text);
    QFETCH(int, count);
    QCOMPARE(HighlightedHTMLParser::characterCount(text), count);
}

void TestSyntaxHighlight::nodeDescription()
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
}

void TestSyntaxHighlight::classAttributes_data()
{
    QTest::addColumn<QString>("classes");
    QTest::addColumn<QString>("attributes");
    QTest::newRow("colour and bold")
        << "hljs-title"
        << "{NSColor = #880000; NSFont = name: system-ui, size:13.0 bold}";
    QTest::newRow("sub-scope skipped")
        << "hljs-title function_"
        << "{NSColor = #880000; NSFont = name: system-ui, size:13.0 bold}";
    QTest::newRow("bold without colour") << "hljs-keyword"
                                         << "{NSFont = name: system-ui, size:13.0 bold}";
    // addition has no entry in "default", so it takes the default attributes, whose colour
    // wins over the keyword's absent one.
    QTest::newRow("missing entry takes the default colour")
        << "hljs-keyword hljs-addition"
        << "{NSColor = #444444; NSFont = name: system-ui, size:13.0 bold}";
    QTest::newRow("later colour replaces earlier")
        << "hljs-comment hljs-string"
        << "{NSColor = #880000; NSFont = name: system-ui, size:13.0}";
    QTest::newRow("text attributes add up") << "hljs-emphasis hljs-strong"
                                            << "{NSFont = name: system-ui, size:13.0 bold italic}";
    QTest::newRow("hljs is the default")
        << "hljs"
        << "{NSColor = #444444; NSFont = name: system-ui, size:13.0}";
    QTest::newRow("no known name: font alone") << "function_ hljs-subst language_"
                                               << "{NSFont = name: system-ui, size:13.0}";
    QTest::newRow("double blank")
        << "hljs-string  hljs-title"
        << "{NSColor = #880000; NSFont = name: system-ui, size:13.0 bold}";
}

void TestSyntaxHighlight::classAttributes()
{
    QFETCH(QString, classes);
    QFETCH(QString, attributes);
    QCOMPARE(SyntaxHighlight::classAttributes(classes, m_default).description(), attributes);
}

void TestSyntaxHighlight::fontFollowsTheTheme()
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

    const QList<HighlightRange> ranges =
        m_highlight->highlightRanges(QStringLiteral("if x"), QStringLiteral("python"), theme);
    QCOMPARE(ranges.size(), 2);
    for (const HighlightRange& range : ranges)
        QCOMPARE(range.attributes.font->size, 15.5);
    QCOMPARE(ranges[1].attributes.font->bold, true);
}

void TestSyntaxHighlight::defaultAttributesWithoutColour()
{
    ThemeAttributes theme;
    const TextAttributes attributes = SyntaxHighlight::defaultAttributes(theme);
    QCOMPARE(attributes.foregroundColor, Color::fromString(QStringLiteral("#000000")));
    QCOMPARE(attributes.font, SyntaxHighlight::font({}, theme));
}

void TestSyntaxHighlight::descriptions()
{
    const HighlightRange range{TextRange{3, 14}, SyntaxHighlight::classAttributes(
                                                     QStringLiteral("hljs-string"), m_default)};
    QCOMPARE(range.description(),
             QStringLiteral("<HighlightRange: range: {3, 14}, attributes:{NSColor = #880000; "
                            "NSFont = name: system-ui, size:13.0}>"));
    QCOMPARE(HighlightRange{}.description(),
             QStringLiteral("<HighlightRange: range: {0, 0}, attributes:{}>"));
}

void TestSyntaxHighlight::nestedRangesComeLater()
{
    const QString code = QStringLiteral("echo \"home: $(ls \"$HOME\" | wc -l) files\"\n");
    const std::optional<QString> html = m_highlight->highlightedHTML(code, QStringLiteral("bash"));
    QVERIFY(html);
    QString text;
    const std::unique_ptr<ClassRangeNode> root = HighlightedHTMLParser::parse(*html, text);
    QVERIFY(root);
    QCOMPARE(text, code);

    QList<const ClassRangeNode*> nodes;
    collectNodes(*root, nodes);
    const QList<HighlightRange> ranges =
        m_highlight->highlightRanges(code, QStringLiteral("bash"), m_default);
    QCOMPARE(ranges.size(), nodes.size() + 1);
    int nested = 0;
    for (const ClassRangeNode* node : nodes) {
        const ClassRangeNode* parent = node->parent();
        if (parent == root.get())
            continue;
        ++nested;
        QVERIFY(node->range().location >= parent->range().location);
        QVERIFY(node->range().end() <= parent->range().end());
        // Breadth-first: the inner entry after the outer one.
        auto indexOf = [&](const ClassRangeNode* n) {
            const auto position =
                std::find_if(ranges.begin(), ranges.end(), [&](const HighlightRange& r) {
                    return r.range == n->range() &&
                           r.attributes ==
                               SyntaxHighlight::classAttributes(n->classes(), m_default);
                });
            return position - ranges.begin();
        };
        QVERIFY(indexOf(node) > indexOf(parent));
    }
    QVERIFY(nested >= 2);
}

void TestSyntaxHighlight::attributedStringMergesInnerSpans()
{
    // "$(…)" is a substitution inside a string: its class gives no colour, so the list form
    // carries the font alone there while the string form keeps the string's colour.
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

    const QList<HighlightRange> ranges =
        m_highlight->highlightRanges(code, QStringLiteral("bash"), m_default);
    const auto subst = std::find_if(ranges.begin(), ranges.end(), [&](const HighlightRange& r) {
        return r.range.location <= inside && inside < r.range.end() &&
               !r.attributes.foregroundColor;
    });
    QVERIFY(subst != ranges.end());
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
    const QList<HighlightRange> ranges =
        m_highlight->highlightRanges(code, goldenLanguage(input), builtInTheme(theme));
    QVERIFY(ranges.size() > 1);
    const QByteArray actual = serialise(ranges, code);
    const QString reference = goldenFolder() + "/reference/" + input + '.' + theme + ".txt";
    if (qEnvironmentVariableIsSet("BRAMBLEWORTH_REGENERATE_GOLDEN")) {
        TestEnvironment::writeFile(reference, actual);
        return;
    }
    TestEnvironment::writeFile(
        TestEnvironment::outputFolder() + "/golden/" + input + '.' + theme + ".txt", actual);
    QCOMPARE(QString::fromUtf8(actual), QString::fromUtf8(TestEnvironment::readFile(reference)));
}

BRAMBLEWORTH_TEST_MAIN(TestSyntaxHighlight)
#include "test_syntaxhighlight.moc"
