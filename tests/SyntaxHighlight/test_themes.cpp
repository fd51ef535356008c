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

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace {

// The fatal paths stop the process, so they run in a child copy of this binary: the variable
// holds "css:TEXT" or "color:R,G,B", and the child acts on it before the test framework starts.
constexpr const char* fatalCheckVariable = "BRAMBLEWORTH_THEMES_FATAL_CHECK";

const int fatalCheck = [] {
    const QByteArray check = qgetenv(fatalCheckVariable);
    if (check.startsWith("css:")) {
        CSSColors::normalize(QString::fromLatin1(check.mid(4)));
    } else if (check.startsWith("color:")) {
        QList<double> components;
        for (const QByteArray& part : check.mid(6).split(','))
            components.append(std::strtod(part.constData(), nullptr));
        Color(components).toString();
    } else {
        return 0;
    }
    std::fputs("child survived\n", stderr);
    std::exit(0);
}();

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

QByteArray testData(const char* name)
{
    return TestEnvironment::readFile(
        QStringLiteral(BRAMBLEWORTH_TEST_DATA_DIR "/SyntaxHighlight/") + QLatin1StringView(name));
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

    void classNames();
    void eachClassSelectsItsOwnField_data();
    void eachClassSelectsItsOwnField();

    void encodeAndDecode();
    void decodeFailures_data();
    void decodeFailures();

    void builtInNames();
    void builtInThemeFollowsTheRules_data();
    void builtInThemeFollowsTheRules();
    void convertedStyleSheets_data();
    void convertedStyleSheets();
};

void TestThemes::colorFromString_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QList<double>>("components");

    // Either case, with or without '#', blanks around trimmed.
    for (const char* text : {"#f0f0f0", " #F0F0F0 ", "F0F0F0", "\n\t#f0f0f0\r\n"})
        QTest::newRow(QByteArray(text).toPercentEncoding(" #")) << text << rgb(240, 240, 240);
    QTest::newRow("channels in order") << "#123456" << rgb(0x12, 0x34, 0x56);
    QTest::newRow("black") << "#000000" << rgb(0, 0, 0);
    QTest::newRow("white") << "#ffffff" << rgb(255, 255, 255);
    // Only six plain hex digits count: no short form, no keyword, no sign or "0x" prefix.
    for (const char* text : {"#FFF", "white", "", "   ", "##F0F0F0", "#F0F0F0FF", "#GGGGGG",
                             "#F0 F0F", "+F0F0F", "0x1234", "# F0F0F"})
        QTest::addRow("grey for \"%s\"", text) << text << grey;
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
    QTest::newRow("one") << QList<double>{0.5} << "#555555";
    QTest::newRow("grey-scale") << QList<double>{0.5, 1.0} << "#555555";
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
    QCOMPARE(Color::fromString(QStringLiteral("#abcdef")).toString(), QStringLiteral("#ABCDEF"));
}

void TestThemes::cssNormalize_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("normalized");

    // Keywords match as written (no case folding, no trimming); seven-character forms pass
    // unchecked.
    const std::pair<const char*, const char*> rows[] = {
        {"grey", "#808080"},          {"gray", "#808080"},        {"Gray", "#000000"},
        {"aliceblue", "#f0f8ff"},     {"yellowgreen", "#9acd32"}, {"white", "#ffffff"},
        {"rebeccapurple", "#000000"}, {"transparent", "#000000"}, {"", "#000000"},
        {" red", "#000000"},          {"#abc", "#aabbcc"},        {"#F0A", "#FF00AA"},
        {"#A1b2C3", "#A1b2C3"},       {"#zzzzzz", "#zzzzzz"}};
    for (const auto& [text, normalized] : rows)
        QTest::addRow("\"%s\"", text) << text << normalized;
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
    QCOMPARE(colors.keys().filter(QStringLiteral("gray")).size(), 7);
    for (const QString& gray : colors.keys().filter(QStringLiteral("gray")))
        QCOMPARE(
            colors.value(QString(gray).replace(QStringLiteral("gray"), QStringLiteral("grey"))),
            colors.value(gray));
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

    for (const char* check : {"css:#a", "css:#abcd", "css:#aabbccd", "css:#"})
        QTest::newRow(check) << check << QStringLiteral("bad css color") << true;
    // Seven characters is the one length besides four that passes.
    QTest::newRow("css:#abcdef") << "css:#abcdef" << QStringLiteral("child survived") << false;
    for (const char* check : {"color:inf,0,0", "color:0,nan,0", "color:0,0,1e12"})
        QTest::newRow(check) << check << QStringLiteral("colour component out of range") << true;
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

void TestThemes::classNames()
{
    using N = HLJSClassName;
    const QList<N>& all = HLJSClassNames::all();
    QCOMPARE(all.size(), 29);
    QCOMPARE(HLJSClassNames::rawValue(N::hljs), "hljs");
    QCOMPARE(HLJSClassNames::themeKey(N::hljs), "defaultAttributes");
    QCOMPARE(HLJSClassNames::rawValue(N::hljsBuiltIn), "hljs-built_in");
    for (qsizetype i = 0; i < all.size(); ++i) {
        const QString raw = HLJSClassNames::rawValue(all[i]);
        QCOMPARE(int(all[i]), int(i));
        QCOMPARE(HLJSClassNames::fromRawValue(raw), std::optional<N>(all[i]));
        if (i == 0)
            continue;
        // A theme key is its class after "hljs-" in camel case, "_" breaking words as "-"
        // does: "hljs-built_in" selects "builtIn".
        QVERIFY2(raw.startsWith(u"hljs-"), qPrintable(raw));
        QString key;
        bool wordStart = false;
        for (QChar c : raw.mid(5)) {
            if (c == u'-' || c == u'_')
                wordStart = true;
            else
                key += std::exchange(wordStart, false) ? c.toUpper() : c;
        }
        QCOMPARE(HLJSClassNames::themeKey(all[i]), key);
    }
    for (const char* unknown :
         {"function_", "hljs-subst", "", "HLJS-TITLE", "hljs-title ", "builtIn", "hljs-built-in"})
        QVERIFY2(!HLJSClassNames::fromRawValue(QString::fromLatin1(unknown)), unknown);
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
    QCOMPARE(theme.entryFor(HLJSClassName::hljs), nullptr);
    QCOMPARE(theme.attributeFor(name), theme.defaultAttributes);
    const ThemeAttributes::Attribute own = attr("#ABCDEF", {"italic"});
    *theme.entryFor(name) = own;

    for (HLJSClassName other : HLJSClassNames::all())
        QCOMPARE(theme.attributeFor(other), other == name ? own : theme.defaultAttributes);

    const QJsonObject json = parseObject(theme.encode());
    QCOMPARE(json.keys().size(), 2);
    QCOMPARE(json.value(HLJSClassNames::themeKey(name)).toObject().value("color").toString(),
             "#ABCDEF");
    QCOMPARE(ThemeAttributes::decode(theme.encode()), theme);

    // An entry without colour is still the class's own entry, not the default one.
    *theme.entryFor(name) = attr(nullptr, {"bold"});
    QCOMPARE(theme.attributeFor(name), attr(nullptr, {"bold"}));
}

void TestThemes::encodeAndDecode()
{
    // Only present fields are written, in field order.
    QCOMPARE(ThemeAttributes().encode(),
             QByteArray(R"({"defaultAttributes":{"textAttributes":[]}})"));

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
    theme.backgroundColor = Color({0.5, 1.0});
    QVERIFY(theme.encode().contains(R"("backgroundColor":"#555555")"));

    const QByteArray json = R"({"strong":{"textAttributes":["bold"]},"unknownKey":1,"fontSize":14,
        "backgroundColor":"#1F1F24","fontName":"Menlo","defaultAttributes":{"color":"white","textAttributes":[]},
        "tag":{"color":null,"textAttributes":["wavy"]},"addition":{"color":"#00ff00","textAttributes":[]},
        "params":null})";
    theme = ThemeAttributes::decode(json);
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

    // Text that cannot become UTF-8 fails the whole encoding instead of vanishing from it.
    for (const QString& broken : {QString(QChar(0xD800)), QStringLiteral("bo") + QChar(0xDC00)}) {
        ThemeAttributes withLoneSurrogate;
        withLoneSurrogate.fontName = broken;
        QVERIFY_THROWS_EXCEPTION(AppError, withLoneSurrogate.encode());
        withLoneSurrogate.fontName.reset();
        withLoneSurrogate.keyword = attr(nullptr, {broken});
        QVERIFY_THROWS_EXCEPTION(AppError, withLoneSurrogate.encode());
    }
}

void TestThemes::decodeFailures_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("reason");

    // "D" stands for a valid default entry.
    const std::pair<const char*, const char*> rows[] = {
        {R"({"backgroundColor":"#FFFFFF"})",
         R"(No value associated with key "defaultAttributes".)"},
        {R"({"defaultAttributes":null})", R"(No value associated with key "defaultAttributes".)"},
        {R"({"defaultAttributes":{"color":"#FFFFFF"}})",
         R"(No value associated with key "defaultAttributes.textAttributes".)"},
        {R"({D,"keyword":{"color":"#FFFFFF"}})",
         R"(No value associated with key "keyword.textAttributes".)"},
        {R"({"fontName":3,D})", R"("fontName" is not a string.)"},
        {R"({"fontSize":"13",D})", R"("fontSize" is not a number.)"},
        {R"({"defaultAttributes":{"color":16777215,"textAttributes":[]}})",
         R"("defaultAttributes.color" is not a string.)"},
        {R"({D,"backgroundColor":[]})", R"("backgroundColor" is not a string.)"},
        {R"({"defaultAttributes":{"textAttributes":"bold"}})",
         R"("defaultAttributes.textAttributes" is not an array.)"},
        {R"({"defaultAttributes":{"textAttributes":[true]}})",
         R"("defaultAttributes.textAttributes" holds a value that is not a string.)"},
        {R"({D,"title":"#FFFFFF"})", R"("title" is not an object.)"},
        {"[]", "Expected a theme object."},
        {"{defaultAttributes:", "unterminated object at offset 2"},
        {"", "illegal value at offset 0"}};
    for (const auto& [json, reason] : rows) {
        QByteArray text(json);
        text.replace("D", R"("defaultAttributes":{"textAttributes":[]})");
        QTest::newRow(json) << text << reason;
    }
}

void TestThemes::decodeFailures()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, reason);
    try {
        ThemeAttributes::decode(json);
        QFAIL("decoded");
    } catch (const AppError& error) {
        QCOMPARE(error.failureReason(), reason);
        QCOMPARE(error.description(),
                 reason.startsWith(u"No value")
                     ? QStringLiteral("The data couldn’t be read because it is missing.")
                     : QStringLiteral("The data couldn’t be read because it isn’t in the "
                                      "correct format."));
    }
}

void TestThemes::builtInNames()
{
    QStringList expected;
    for (const QByteArray& line : testData("theme-names.txt").split('\n')) {
        if (!line.isEmpty() && !line.startsWith('#'))
            expected.append(QString::fromUtf8(line));
    }
    QCOMPARE(expected.size(), 90);
    QCOMPARE(BuiltInThemes::names(), expected);
    QCOMPARE(QSet<QString>(expected.cbegin(), expected.cend()).size(), 90);

    QCOMPARE(BuiltInThemes::json("Default"), std::nullopt);
    QCOMPARE(BuiltInThemes::theme("night-owl"), std::nullopt);
    QCOMPARE(BuiltInThemes::json("darkula"), BuiltInThemes::json("darcula"));
    QCOMPARE(BuiltInThemes::theme("pojoaque")->backgroundColor->toString(), "#181914");
    // The default theme, its key order included, is the one every earlier release shipped.
    QCOMPARE(BuiltInThemes::json("default").value(), testData("default-theme.json").trimmed());
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
    QStringList allowed{QStringLiteral("backgroundColor")};
    for (HLJSClassName className : HLJSClassNames::all()) {
        if (className != HLJSClassName::hljsAddition)
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
    // Every colour survives decoding and encoding unchanged; "default" keeps its own key order.
    if (name != QLatin1StringView("default"))
        QCOMPARE(theme->encode(), *text);
}

void TestThemes::convertedStyleSheets_data()
{
    QTest::addColumn<QString>("theme");
    QTest::addColumn<HLJSClassName>("name");
    QTest::addColumn<QString>("color");
    QTest::addColumn<QStringList>("textAttributes");

    using N = HLJSClassName;
    const std::tuple<const char*, N, const char*, QStringList> rows[] = {
        {"xcode", N::hljs, "#000000", {}},
        {"xcode", N::hljsKeyword, "#AA0D91", {}},
        // ".hljs-class .hljs-title" is a context rule and does not recolour every title.
        {"xcode", N::hljsTitle, "#1C00CF", {}},
        {"github", N::hljsComment, "#999988", {"italic"}},
        {"github", N::hljsTitle, "#990000", {"bold"}},
        // rgba() blended over the white background.
        {"arduino-light", N::hljsComment, "#AAB7B8", {}},
        // Three-digit and keyword colours.
        {"dark", N::hljsKeyword, "#FFFFFF", {"bold"}},
        // darkula is an import of darcula; xcode-dark is made by hand.
        {"darkula", N::hljsString, "#6A8759", {}},
        {"xcode-dark", N::hljsString, "#FC6A5D", {}}};
    for (const auto& [theme, name, color, textAttributes] : rows) {
        QTest::addRow("%s %s", theme, qPrintable(HLJSClassNames::rawValue(name)))
            << theme << name << color << textAttributes;
    }
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

BRAMBLEWORTH_TEST_MAIN(TestThemes)

#include "test_themes.moc"
