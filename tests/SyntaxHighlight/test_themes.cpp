// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/TestEnvironment.h"

#include "QuillonCommons/AppError.h"
#include "SyntaxHighlight/BuiltInThemes.h"
#include "SyntaxHighlight/CSSColors.h"
#include "SyntaxHighlight/Color.h"
#include "SyntaxHighlight/HLJSClassName.h"
#include "SyntaxHighlight/ThemeAttributes.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace {

// The fatal paths stop the process, so they run in a child copy of this binary: the variable
// names the check, and the child performs it before the test framework starts.
constexpr const char* fatalCheckVariable = "BRAMBLEWORTH_THEMES_FATAL_CHECK";

const int fatalCheck = [] {
    const QByteArray check = qgetenv(fatalCheckVariable);
    if (check.isEmpty())
        return 0;
    if (check == "css-length-2")
        CSSColors::normalize(QStringLiteral("#a"));
    else if (check == "css-length-5")
        CSSColors::normalize(QStringLiteral("#abcd"));
    else if (check == "css-length-8")
        CSSColors::normalize(QStringLiteral("#aabbccd"));
    else if (check == "css-hash-only")
        CSSColors::normalize(QStringLiteral("#"));
    else if (check == "color-infinite")
        Color({std::numeric_limits<double>::infinity(), 0, 0}).toString();
    else if (check == "color-nan")
        Color({0, std::numeric_limits<double>::quiet_NaN(), 0}).toString();
    else if (check == "color-huge")
        Color({0, 0, 1e12}).toString();
    else if (check == "css-length-7")
        CSSColors::normalize(QStringLiteral("#abcdef"));
    std::fputs("child survived\n", stderr);
    std::exit(0);
}();

const QStringList expectedNames = {
    "kimbie.light",
    "gruvbox-light",
    "atelier-heath-dark",
    "railscasts",
    "atelier-seaside-light",
    "brown-paper",
    "arta",
    "isbl-editor-light",
    "kimbie.dark",
    "paraiso-light",
    "atelier-lakeside-dark",
    "atom-one-light",
    "atelier-sulphurpool-light",
    "solarized-light",
    "atelier-estuary-dark",
    "tomorrow-night-bright",
    "atelier-forest-dark",
    "grayscale",
    "agate",
    "nord",
    "foundation",
    "hopscotch",
    "androidstudio",
    "github-gist",
    "ascetic",
    "tomorrow-night-eighties",
    "magula",
    "atelier-plateau-light",
    "atelier-cave-light",
    "mono-blue",
    "gruvbox-dark",
    "ir-black",
    "atom-one-dark",
    "default",
    "routeros",
    "atelier-plateau-dark",
    "xt256",
    "codepen-embed",
    "darcula",
    "qtcreator_dark",
    "atelier-savanna-dark",
    "gml",
    "xcode",
    "zenburn",
    "ocean",
    "isbl-editor-dark",
    "lightfair",
    "far",
    "color-brewer",
    "a11y-dark",
    "paraiso-dark",
    "an-old-hope",
    "obsidian",
    "atelier-forest-light",
    "dracula",
    "atelier-cave-dark",
    "atelier-dune-light",
    "hybrid",
    "dark",
    "a11y-light",
    "atelier-dune-dark",
    "vs2015",
    "atelier-heath-light",
    "tomorrow",
    "github",
    "monokai",
    "rainbow",
    "pojoaque",
    "qtcreator_light",
    "arduino-light",
    "darkula",
    "vs",
    "tomorrow-night",
    "shades-of-purple",
    "atelier-sulphurpool-dark",
    "purebasic",
    "monokai-sublime",
    "solarized-dark",
    "atelier-savanna-light",
    "xcode-dark",
    "docco",
    "atelier-seaside-dark",
    "school-book",
    "atom-one-dark-reasonable",
    "tomorrow-night-blue",
    "idea",
    "atelier-estuary-light",
    "googlecode",
    "sunburst",
    "atelier-lakeside-light",
};

const QList<double> grey = {0.3, 0.3, 0.3, 1.0};

QList<double> rgb(int r, int g, int b)
{
    return {r / 255.0, g / 255.0, b / 255.0, 1.0};
}

ThemeAttributes::Attribute attr(const char* color, QStringList textAttributes = {})
{
    ThemeAttributes::Attribute a;
    if (color)
        a.color = Color::fromString(QString::fromLatin1(color));
    for (const QString& t : textAttributes)
        a.textAttributes.append({t});
    return a;
}

QJsonObject parseObject(const QByteArray& json)
{
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return {};
    return document.object();
}

} // namespace

Q_DECLARE_METATYPE(HLJSClassName)

class TestThemes : public QObject
{
    Q_OBJECT

private slots:
    void colorFromString_data();
    void colorFromString();
    void colorToString_data();
    void colorToString();
    void colorRoundTripsEverySixDigitForm();

    void cssNormalize_data();
    void cssNormalize();
    void cssKeywordTable();

    void fatalErrorsStopTheProcess_data();
    void fatalErrorsStopTheProcess();

    void classNames_data();
    void classNames();
    void unknownClassNames_data();
    void unknownClassNames();

    void eachClassSelectsItsOwnField_data();
    void eachClassSelectsItsOwnField();
    void attributeForFallsBackToDefault();

    void encodeWritesOnlyPresentFieldsInFieldOrder();
    void decodeReadsEveryField();
    void decodeFailures_data();
    void decodeFailures();

    void builtInNames();
    void builtInThemeFollowsTheRules_data();
    void builtInThemeFollowsTheRules();
    void defaultThemeIsExactlyTheEstablishedOne();
    void convertedStyleSheets_data();
    void convertedStyleSheets();
    void unknownBuiltInName();
};

void TestThemes::colorFromString_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QList<double>>("components");

    QTest::newRow("hash lower") << "#f0f0f0" << rgb(240, 240, 240);
    QTest::newRow("hash upper with blanks") << " #F0F0F0 " << rgb(240, 240, 240);
    QTest::newRow("no hash") << "F0F0F0" << rgb(240, 240, 240);
    QTest::newRow("new lines and tabs") << "\n\t#f0f0f0\r\n" << rgb(240, 240, 240);
    QTest::newRow("channels in order") << "#123456" << rgb(0x12, 0x34, 0x56);
    QTest::newRow("black") << "#000000" << rgb(0, 0, 0);
    QTest::newRow("white") << "#ffffff" << rgb(255, 255, 255);
    QTest::newRow("short form not expanded") << "#FFF" << grey;
    QTest::newRow("named colour") << "white" << grey;
    QTest::newRow("empty") << "" << grey;
    QTest::newRow("only blanks") << "   " << grey;
    QTest::newRow("two hashes") << "##F0F0F0" << grey;
    QTest::newRow("eight digits") << "#F0F0F0FF" << grey;
    QTest::newRow("not hex") << "#GGGGGG" << grey;
    QTest::newRow("inner blank") << "#F0 F0F" << grey;
    QTest::newRow("signed") << "+F0F0F" << grey;
    QTest::newRow("hex prefix") << "0x1234" << grey;
    QTest::newRow("blank after hash") << "# F0F0F" << grey;
}

void TestThemes::colorFromString()
{
    QFETCH(QString, text);
    QFETCH(QList<double>, components);
    QCOMPARE(Color::fromString(text).components(), components);
}

void TestThemes::colorToString_data()
{
    QTest::addColumn<QList<double>>("components");
    QTest::addColumn<QString>("text");

    QTest::newRow("none") << QList<double>{} << "#555555";
    QTest::newRow("grey-scale") << QList<double>{0.5, 1.0} << "#555555";
    QTest::newRow("one") << QList<double>{0.5} << "#555555";
    QTest::newRow("rgb") << QList<double>{1.0, 0.0, 0.5} << "#FF007F";
    QTest::newRow("alpha dropped") << QList<double>{1.0, 0.0, 0.0, 0.25} << "#FF0000";
    QTest::newRow("truncated not rounded") << grey << "#4C4C4C";
    QTest::newRow("low eight bits") << QList<double>{2.0, 0.0, 0.0} << "#FE0000";
    QTest::newRow("negative wraps") << QList<double>{-1.0, 0.0, 0.0} << "#010000";
}

void TestThemes::colorToString()
{
    QFETCH(QList<double>, components);
    QFETCH(QString, text);
    QCOMPARE(Color(components).toString(), text);
}

void TestThemes::colorRoundTripsEverySixDigitForm()
{
    // Division by 255 and multiplication back must not lose a step to truncation for any byte.
    for (int v = 0; v < 256; ++v) {
        for (const QString& text :
             {QString::asprintf("#%02X0000", v), QString::asprintf("#00%02X00", v),
              QString::asprintf("#0000%02X", v)}) {
            QCOMPARE(Color::fromString(text).toString(), text);
        }
    }
    QCOMPARE(Color::fromString(QStringLiteral("#880000")).toString(), QStringLiteral("#880000"));
    QCOMPARE(Color::fromString(QStringLiteral("#abcdef")).toString(), QStringLiteral("#ABCDEF"));
    QCOMPARE(Color::fromString(QStringLiteral("white")).toString(), QStringLiteral("#4C4C4C"));
}

void TestThemes::cssNormalize_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("normalized");

    QTest::newRow("grey") << "grey"
                          << "#808080";
    QTest::newRow("gray") << "gray"
                          << "#808080";
    QTest::newRow("capital G") << "Gray"
                               << "#000000";
    QTest::newRow("first") << "aliceblue"
                           << "#f0f8ff";
    QTest::newRow("last") << "yellowgreen"
                          << "#9acd32";
    QTest::newRow("white") << "white"
                           << "#ffffff";
    QTest::newRow("unknown") << "rebeccapurple"
                             << "#000000";
    QTest::newRow("transparent") << "transparent"
                                 << "#000000";
    QTest::newRow("empty") << ""
                           << "#000000";
    QTest::newRow("blank not trimmed") << " red"
                                       << "#000000";
    QTest::newRow("short") << "#abc"
                           << "#aabbcc";
    QTest::newRow("short upper") << "#F0A"
                                 << "#FF00AA";
    QTest::newRow("long unchanged") << "#A1b2C3"
                                    << "#A1b2C3";
    QTest::newRow("long not checked") << "#zzzzzz"
                                      << "#zzzzzz";
}

void TestThemes::cssNormalize()
{
    QFETCH(QString, text);
    QFETCH(QString, normalized);
    QCOMPARE(CSSColors::normalize(text), normalized);
}

void TestThemes::cssKeywordTable()
{
    const QHash<QString, QString>& colors = CSSColors::colors();
    QCOMPARE(colors.size(), 147);
    static const QRegularExpression keyword(QStringLiteral("^[a-z]+$"));
    static const QRegularExpression hex(QStringLiteral("^#[0-9a-f]{6}$"));
    for (auto it = colors.cbegin(); it != colors.cend(); ++it) {
        QVERIFY2(keyword.match(it.key()).hasMatch(), qPrintable(it.key()));
        QVERIFY2(hex.match(it.value()).hasMatch(), qPrintable(it.key() + " " + it.value()));
    }
    // Both spellings everywhere a grey appears, with the same value.
    for (const char* base : {"gray", "darkgray", "darkslategray", "dimgray", "lightgray",
                             "lightslategray", "slategray"}) {
        QString grey = QString::fromLatin1(base);
        grey.replace(QStringLiteral("gray"), QStringLiteral("grey"));
        QVERIFY2(colors.contains(QString::fromLatin1(base)), base);
        QCOMPARE(colors.value(grey), colors.value(QString::fromLatin1(base)));
    }
    // Keywords whose CSS values differ from the X11 colours of the same names.
    QCOMPARE(colors.value("green"), "#008000");
    QCOMPARE(colors.value("maroon"), "#800000");
    QCOMPARE(colors.value("purple"), "#800080");
    QCOMPARE(colors.value("lightgoldenrodyellow"), "#fafad2");
    QVERIFY(!colors.contains("rebeccapurple"));
    QVERIFY(!colors.contains("transparent"));
}

void TestThemes::fatalErrorsStopTheProcess_data()
{
    QTest::addColumn<QString>("check");
    QTest::addColumn<QString>("message");
    QTest::addColumn<bool>("stops");

    QTest::newRow("css two characters") << "css-length-2"
                                        << "bad css color" << true;
    QTest::newRow("css five characters") << "css-length-5"
                                         << "bad css color" << true;
    QTest::newRow("css eight characters") << "css-length-8"
                                          << "bad css color" << true;
    QTest::newRow("css hash alone") << "css-hash-only"
                                    << "bad css color" << true;
    QTest::newRow("css seven characters is fine") << "css-length-7"
                                                  << "child survived" << false;
    QTest::newRow("colour infinite") << "color-infinite"
                                     << "out of range" << true;
    QTest::newRow("colour not a number") << "color-nan"
                                         << "out of range" << true;
    QTest::newRow("colour beyond int") << "color-huge"
                                       << "out of range" << true;
}

void TestThemes::fatalErrorsStopTheProcess()
{
    QFETCH(QString, check);
    QFETCH(QString, message);
    QFETCH(bool, stops);

    QProcess child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromLatin1(fatalCheckVariable), check);
    child.setProcessEnvironment(environment);
    child.start(QCoreApplication::applicationFilePath(), {});
    QVERIFY(child.waitForFinished(30000));
    const QString errors = QString::fromLocal8Bit(child.readAllStandardError());
    QVERIFY2(errors.contains(message), qPrintable(errors));
    const bool stopped = child.exitStatus() == QProcess::CrashExit || child.exitCode() != 0;
    QCOMPARE(stopped, stops);
}

void TestThemes::classNames_data()
{
    QTest::addColumn<HLJSClassName>("name");
    QTest::addColumn<QString>("rawValue");
    QTest::addColumn<QString>("themeKey");

    using N = HLJSClassName;
    const QList<std::tuple<N, const char*, const char*>> rows = {
        {N::hljs, "hljs", "defaultAttributes"},
        {N::hljsComment, "hljs-comment", "comment"},
        {N::hljsQuote, "hljs-quote", "quote"},
        {N::hljsVariable, "hljs-variable", "variable"},
        {N::hljsTemplateVariable, "hljs-template-variable", "templateVariable"},
        {N::hljsTag, "hljs-tag", "tag"},
        {N::hljsName, "hljs-name", "name"},
        {N::hljsSelectorId, "hljs-selector-id", "selectorId"},
        {N::hljsSelectorClass, "hljs-selector-class", "selectorClass"},
        {N::hljsRegexp, "hljs-regexp", "regexp"},
        {N::hljsDeletion, "hljs-deletion", "deletion"},
        {N::hljsNumber, "hljs-number", "number"},
        {N::hljsBuiltIn, "hljs-built_in", "builtIn"},
        {N::hljsLiteral, "hljs-literal", "literal"},
        {N::hljsType, "hljs-type", "type"},
        {N::hljsParams, "hljs-params", "params"},
        {N::hljsMeta, "hljs-meta", "meta"},
        {N::hljsLink, "hljs-link", "link"},
        {N::hljsAttribute, "hljs-attribute", "attribute"},
        {N::hljsString, "hljs-string", "string"},
        {N::hljsSymbol, "hljs-symbol", "symbol"},
        {N::hljsBullet, "hljs-bullet", "bullet"},
        {N::hljsAddition, "hljs-addition", "addition"},
        {N::hljsTitle, "hljs-title", "title"},
        {N::hljsSection, "hljs-section", "section"},
        {N::hljsKeyword, "hljs-keyword", "keyword"},
        {N::hljsSelectorTag, "hljs-selector-tag", "selectorTag"},
        {N::hljsEmphasis, "hljs-emphasis", "emphasis"},
        {N::hljsStrong, "hljs-strong", "strong"},
    };
    QCOMPARE(HLJSClassNames::all().size(), rows.size());
    for (qsizetype i = 0; i < rows.size(); ++i) {
        const auto& [name, raw, key] = rows[i];
        QCOMPARE(HLJSClassNames::all()[i], name);
        QTest::newRow(raw) << name << QString::fromLatin1(raw) << QString::fromLatin1(key);
    }
}

void TestThemes::classNames()
{
    QFETCH(HLJSClassName, name);
    QFETCH(QString, rawValue);
    QFETCH(QString, themeKey);
    QCOMPARE(HLJSClassNames::rawValue(name), rawValue);
    QCOMPARE(HLJSClassNames::fromRawValue(rawValue), std::optional<HLJSClassName>(name));
    QCOMPARE(HLJSClassNames::themeKey(name), themeKey);
}

void TestThemes::unknownClassNames_data()
{
    QTest::addColumn<QString>("rawValue");
    QTest::newRow("sub-scope") << "function_";
    QTest::newRow("unstyled class") << "hljs-subst";
    QTest::newRow("empty") << "";
    QTest::newRow("upper case") << "HLJS-TITLE";
    QTest::newRow("trailing blank") << "hljs-title ";
    QTest::newRow("camel theme key") << "builtIn";
    QTest::newRow("dash for underscore") << "hljs-built-in";
}

void TestThemes::unknownClassNames()
{
    QFETCH(QString, rawValue);
    QCOMPARE(HLJSClassNames::fromRawValue(rawValue), std::nullopt);
}

void TestThemes::eachClassSelectsItsOwnField_data()
{
    QTest::addColumn<HLJSClassName>("name");
    for (HLJSClassName name : HLJSClassNames::all()) {
        if (name != HLJSClassName::hljs)
            QTest::newRow(qPrintable(HLJSClassNames::rawValue(name))) << name;
    }
}

void TestThemes::eachClassSelectsItsOwnField()
{
    // Setting one class's entry shows up under that class, under its own JSON key, and nowhere
    // else.
    QFETCH(HLJSClassName, name);
    ThemeAttributes theme;
    theme.defaultAttributes = attr("#111111");
    const ThemeAttributes::Attribute own = attr("#ABCDEF", {"italic"});
    *theme.entryFor(name) = own;

    for (HLJSClassName other : HLJSClassNames::all())
        QCOMPARE(theme.attributeFor(other), other == name ? own : theme.defaultAttributes);

    const QJsonObject json = parseObject(theme.encode());
    QCOMPARE(json.keys().size(), 2);
    QCOMPARE(json.value(HLJSClassNames::themeKey(name)).toObject().value("color").toString(),
             "#ABCDEF");
    QCOMPARE(ThemeAttributes::decode(theme.encode()), theme);
}

void TestThemes::attributeForFallsBackToDefault()
{
    ThemeAttributes theme;
    theme.defaultAttributes = attr("#444444");
    theme.title = attr("#880000", {"bold"});
    theme.keyword = attr(nullptr, {"bold"});
    QCOMPARE(theme.attributeFor(HLJSClassName::hljs), theme.defaultAttributes);
    QCOMPARE(theme.attributeFor(HLJSClassName::hljsTitle), *theme.title);
    // An entry without colour is still the class's own entry, not the default one.
    QVERIFY(!theme.attributeFor(HLJSClassName::hljsKeyword).color);
    QCOMPARE(theme.attributeFor(HLJSClassName::hljsString), theme.defaultAttributes);
    QCOMPARE(theme.entryFor(HLJSClassName::hljs), nullptr);
}

void TestThemes::encodeWritesOnlyPresentFieldsInFieldOrder()
{
    ThemeAttributes minimal;
    QCOMPARE(minimal.encode(), QByteArray(R"({"defaultAttributes":{"textAttributes":[]}})"));

    ThemeAttributes theme;
    theme.strong = attr(nullptr, {"bold"});
    theme.comment = attr("#888888");
    theme.backgroundColor = Color::fromString("#F0F0F0");
    theme.defaultAttributes = attr("#444444", {"bold", "italic", "underline"});
    theme.fontSize = 12.5;
    theme.fontName = QStringLiteral("Menlo-Regular");
    QCOMPARE(
        theme.encode(),
        QByteArray(
            R"({"fontName":"Menlo-Regular","fontSize":12.5,)"
            R"("defaultAttributes":{"color":"#444444","textAttributes":["bold","italic","underline"]},)"
            R"("backgroundColor":"#F0F0F0","comment":{"color":"#888888","textAttributes":[]},)"
            R"("strong":{"textAttributes":["bold"]}})"));
    // A grey-scale colour has no six-digit form of its own.
    ThemeAttributes greyScale;
    greyScale.backgroundColor = Color({0.5, 1.0});
    QVERIFY(greyScale.encode().contains(R"("backgroundColor":"#555555")"));
}

void TestThemes::decodeReadsEveryField()
{
    const QByteArray json = R"({"strong":{"textAttributes":["bold"]},"unknownKey":1,"fontSize":14,
        "backgroundColor":"#1F1F24","fontName":"Menlo","defaultAttributes":{"color":"white","textAttributes":[]},
        "tag":{"color":null,"textAttributes":["wavy"]},"addition":{"color":"#00ff00","textAttributes":[]},
        "params":null})";
    const ThemeAttributes theme = ThemeAttributes::decode(json);
    QCOMPARE(theme.fontName, std::optional<QString>("Menlo"));
    QCOMPARE(theme.fontSize, std::optional<double>(14.0));
    QCOMPARE(theme.backgroundColor->toString(), "#1F1F24");
    QCOMPARE(theme.defaultAttributes.color->components(), grey);
    QCOMPARE(theme.strong, attr(nullptr, {"bold"}));
    QCOMPARE(theme.tag, attr(nullptr, {"wavy"}));
    QCOMPARE(theme.addition, attr("#00FF00"));
    QVERIFY(!theme.params);
    QVERIFY(!theme.comment);
    // Re-encoding puts the keys in field order and drops what it does not know.
    QCOMPARE(
        theme.encode(),
        QByteArray(
            R"({"fontName":"Menlo","fontSize":14,"defaultAttributes":{"color":"#4C4C4C","textAttributes":[]},)"
            R"("backgroundColor":"#1F1F24","tag":{"textAttributes":["wavy"]},)"
            R"("addition":{"color":"#00FF00","textAttributes":[]},"strong":{"textAttributes":["bold"]}})"));
}

void TestThemes::decodeFailures_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("reason");

    QTest::newRow("no defaultAttributes")
        << QByteArray(R"({"backgroundColor":"#FFFFFF"})") << "defaultAttributes";
    QTest::newRow("null defaultAttributes")
        << QByteArray(R"({"defaultAttributes":null})") << "defaultAttributes";
    QTest::newRow("default without textAttributes")
        << QByteArray(R"({"defaultAttributes":{"color":"#FFFFFF"}})")
        << "defaultAttributes.textAttributes";
    QTest::newRow("token without textAttributes")
        << QByteArray(
               R"({"defaultAttributes":{"textAttributes":[]},"keyword":{"color":"#FFFFFF"}})")
        << "keyword.textAttributes";
    QTest::newRow("fontName not a string")
        << QByteArray(R"({"fontName":3,"defaultAttributes":{"textAttributes":[]}})") << "fontName";
    QTest::newRow("fontSize not a number")
        << QByteArray(R"({"fontSize":"13","defaultAttributes":{"textAttributes":[]}})")
        << "fontSize";
    QTest::newRow("colour not a string")
        << QByteArray(R"({"defaultAttributes":{"color":16777215,"textAttributes":[]}})")
        << "defaultAttributes.color";
    QTest::newRow("background not a string")
        << QByteArray(R"({"defaultAttributes":{"textAttributes":[]},"backgroundColor":[]})")
        << "backgroundColor";
    QTest::newRow("textAttributes not a list")
        << QByteArray(R"({"defaultAttributes":{"textAttributes":"bold"}})")
        << "defaultAttributes.textAttributes";
    QTest::newRow("text attribute not a string")
        << QByteArray(R"({"defaultAttributes":{"textAttributes":[true]}})")
        << "defaultAttributes.textAttributes";
    QTest::newRow("attribute not an object")
        << QByteArray(R"({"defaultAttributes":{"textAttributes":[]},"title":"#FFFFFF"})")
        << "title";
    QTest::newRow("array") << QByteArray("[]") << "theme object";
    QTest::newRow("not JSON") << QByteArray("{defaultAttributes:") << "offset";
    QTest::newRow("empty") << QByteArray() << "offset";
}

void TestThemes::decodeFailures()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, reason);
    try {
        ThemeAttributes::decode(json);
        QFAIL("decoded");
    } catch (const AppError& error) {
        QVERIFY2(error.failureReason().contains(reason), qPrintable(error.failureReason()));
    }
}

void TestThemes::builtInNames()
{
    QCOMPARE(BuiltInThemes::names(), expectedNames);
    const QSet<QString> unique(expectedNames.cbegin(), expectedNames.cend());
    QCOMPARE(unique.size(), 90);
}

void TestThemes::builtInThemeFollowsTheRules_data()
{
    QTest::addColumn<QString>("name");
    for (const QString& name : BuiltInThemes::names())
        QTest::newRow(qPrintable(name)) << name;
}

void TestThemes::builtInThemeFollowsTheRules()
{
    QFETCH(QString, name);
    const std::optional<QByteArray> text = BuiltInThemes::json(name);
    QVERIFY(text);
    const std::optional<ThemeAttributes> theme = BuiltInThemes::theme(name);
    QVERIFY(theme);
    QVERIFY(!theme->fontName);
    QVERIFY(!theme->fontSize);
    QVERIFY(!theme->addition);

    const QJsonObject object = parseObject(*text);
    QVERIFY(!object.isEmpty());
    QVERIFY(!text->contains(' ') && !text->contains('\n'));
    static const QRegularExpression hex(QStringLiteral("^#[0-9A-F]{6}$"));
    QStringList allowed{QStringLiteral("defaultAttributes"), QStringLiteral("backgroundColor")};
    for (HLJSClassName className : HLJSClassNames::all()) {
        if (className != HLJSClassName::hljs && className != HLJSClassName::hljsAddition)
            allowed.append(HLJSClassNames::themeKey(className));
    }
    for (auto it = object.constBegin(); it != object.constEnd(); ++it) {
        QVERIFY2(allowed.contains(it.key()), qPrintable(it.key()));
        if (it.key() == QLatin1StringView("backgroundColor")) {
            QVERIFY2(hex.match(it.value().toString()).hasMatch(), qPrintable(it.key()));
            continue;
        }
        const QJsonObject attribute = it.value().toObject();
        if (attribute.contains("color"))
            QVERIFY2(hex.match(attribute.value("color").toString()).hasMatch(),
                     qPrintable(it.key()));
        QVERIFY2(attribute.value("textAttributes").isArray(), qPrintable(it.key()));
        for (const QJsonValue& t : attribute.value("textAttributes").toArray())
            QVERIFY2(t == "bold" || t == "italic", qPrintable(it.key()));
        // An entry that changes nothing would still drop the default colour of its spans.
        QVERIFY2(attribute.contains("color") ||
                     !attribute.value("textAttributes").toArray().isEmpty(),
                 qPrintable(it.key()));
    }
    // Every colour survives decoding and encoding unchanged.
    if (name != QLatin1StringView("default"))
        QCOMPARE(theme->encode(), *text);
}

void TestThemes::defaultThemeIsExactlyTheEstablishedOne()
{
    ThemeAttributes expected;
    expected.selectorTag = attr(nullptr, {"bold"});
    expected.defaultAttributes = attr("#444444");
    expected.regexp = attr("#BC6060");
    expected.strong = attr(nullptr, {"bold"});
    expected.link = attr("#BC6060");
    expected.title = attr("#880000", {"bold"});
    expected.keyword = attr(nullptr, {"bold"});
    expected.backgroundColor = Color::fromString("#F0F0F0");
    expected.attribute = attr("#397300");
    expected.selectorId = attr("#880000");
    expected.name = attr(nullptr, {"bold"});
    expected.type = attr("#880000");
    expected.meta = attr("#1F7199");
    expected.emphasis = attr(nullptr, {"italic"});
    expected.number = attr("#880000");
    expected.symbol = attr("#BC6060");
    expected.literal = attr("#78A960");
    expected.selectorClass = attr("#880000");
    expected.builtIn = attr("#397300");
    expected.deletion = attr("#880000");
    expected.quote = attr("#880000");
    expected.bullet = attr("#397300");
    expected.variable = attr("#BC6060");
    expected.comment = attr("#888888");
    expected.string = attr("#880000");
    expected.templateVariable = attr("#BC6060");
    expected.section = attr("#880000", {"bold"});
    QCOMPARE(BuiltInThemes::theme("default"), std::optional<ThemeAttributes>(expected));

    // The stored text keeps its own key order.
    const QStringList order = {
        "selectorTag", "defaultAttributes", "regexp",    "strong",     "link",     "title",
        "keyword",     "backgroundColor",   "attribute", "selectorId", "name",     "type",
        "meta",        "emphasis",          "number",    "symbol",     "literal",  "selectorClass",
        "builtIn",     "deletion",          "quote",     "bullet",     "variable", "comment",
        "string",      "templateVariable",  "section"};
    const QByteArray text = *BuiltInThemes::json("default");
    qsizetype previous = -1;
    for (const QString& key : order) {
        const qsizetype at = text.indexOf(('"' + key + "\":").toUtf8());
        QVERIFY2(at > previous, qPrintable(key));
        previous = at;
    }
    QCOMPARE(parseObject(text).size(), order.size());
}

void TestThemes::convertedStyleSheets_data()
{
    QTest::addColumn<QString>("theme");
    QTest::addColumn<HLJSClassName>("name");
    QTest::addColumn<QString>("color");
    QTest::addColumn<QStringList>("textAttributes");

    using N = HLJSClassName;
    // Plain rules of one sheet.
    QTest::newRow("xcode base") << "xcode" << N::hljs << "#000000" << QStringList{};
    QTest::newRow("xcode keyword") << "xcode" << N::hljsKeyword << "#AA0D91" << QStringList{};
    // ".hljs-class .hljs-title" is a context rule and does not recolour every title.
    QTest::newRow("xcode title") << "xcode" << N::hljsTitle << "#1C00CF" << QStringList{};
    QTest::newRow("github comment italic")
        << "github" << N::hljsComment << "#999988" << QStringList{"italic"};
    QTest::newRow("github title bold")
        << "github" << N::hljsTitle << "#990000" << QStringList{"bold"};
    // rgba() blended over the white background.
    QTest::newRow("arduino translucent comment")
        << "arduino-light" << N::hljsComment << "#AAB7B8" << QStringList{};
    // Three-digit and keyword colours.
    QTest::newRow("dark keyword") << "dark" << N::hljsKeyword << "#FFFFFF" << QStringList{"bold"};
    QTest::newRow("darkula follows its import")
        << "darkula" << N::hljsString << "#6A8759" << QStringList{};
    QTest::newRow("hand-made dark xcode")
        << "xcode-dark" << N::hljsString << "#FC6A5D" << QStringList{};
}

void TestThemes::convertedStyleSheets()
{
    QFETCH(QString, theme);
    QFETCH(HLJSClassName, name);
    QFETCH(QString, color);
    QFETCH(QStringList, textAttributes);
    const std::optional<ThemeAttributes> decoded = BuiltInThemes::theme(theme);
    QVERIFY(decoded);
    const ThemeAttributes::Attribute& attribute = decoded->attributeFor(name);
    QVERIFY(attribute.color);
    QCOMPARE(attribute.color->toString(), color);
    QStringList names;
    for (const auto& t : attribute.textAttributes)
        names.append(t.rawValue);
    QCOMPARE(names, textAttributes);
}

void TestThemes::unknownBuiltInName()
{
    QCOMPARE(BuiltInThemes::json("Default"), std::nullopt);
    QCOMPARE(BuiltInThemes::theme("night-owl"), std::nullopt);
    QCOMPARE(BuiltInThemes::json("pojoaque")->isEmpty(), false);
    QCOMPARE(BuiltInThemes::theme("pojoaque")->backgroundColor->toString(), "#181914");
    QCOMPARE(BuiltInThemes::json("darkula"), BuiltInThemes::json("darcula"));
}

BRAMBLEWORTH_TEST_MAIN(TestThemes)

#include "test_themes.moc"
