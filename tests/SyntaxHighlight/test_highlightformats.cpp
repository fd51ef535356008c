// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/TestEnvironment.h"

#include "QuillonCommons/LogCapture.h"
#include "SyntaxHighlight/BuiltInThemes.h"
#include "SyntaxHighlight/HighlightFormats.h"
#include "SyntaxHighlight/SyntaxHighlight.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QGuiApplication>

class TestHighlightFormats : public QObject
{
    Q_OBJECT

private slots:
    void fonts_data();
    void fonts();
    void systemFontForAnEmptyName();
    void colors_data();
    void colors();
    void formats();
};

void TestHighlightFormats::fonts_data()
{
    QTest::addColumn<QString>("family");
    QTest::addColumn<bool>("bold");
    QTest::addColumn<bool>("italic");
    QTest::addColumn<bool>("applied");
    QTest::addColumn<QString>("error");
    QTest::newRow("plain") << "DejaVu Sans Mono" << false << false << true << "";
    QTest::newRow("bold") << "DejaVu Sans Mono" << true << false << true << "";
    QTest::newRow("oblique counts as italic") << "DejaVu Sans Mono" << false << true << true << "";
    QTest::newRow("bold italic") << "DejaVu Serif" << true << true << true << "";
    // A family with one regular face: no bold to be had, so the plain font and an error.
    const QString family = QStringLiteral("DejaVu Math TeX Gyre");
    const QString error = QStringLiteral("cannot create font descriptor for name: DejaVu Math TeX "
                                         "Gyre, size:13.0 with symbolics traits bold");
    QTest::newRow("no bold face") << family << true << false << false << error;
    QTest::newRow("no bold italic face") << family << true << true << false << error + "|italic";
}

void TestHighlightFormats::fonts()
{
    QFETCH(QString, family);
    QFETCH(bool, bold);
    QFETCH(bool, italic);
    QFETCH(bool, applied);
    QFETCH(QString, error);
    if (!QFontDatabase::families().contains(family))
        QSKIP("font family not installed");

    LogCapture capture;
    const QFont font = HighlightFormats::font(HighlightFont{family, 13.0, bold, italic});
    QCOMPARE(font.family(), family);
    QCOMPARE(font.pointSizeF(), 13.0);
    QCOMPARE(font.bold(), applied && bold);
    QCOMPARE(font.italic(), applied && italic);
    QCOMPARE(capture.messages(LogLevel::error),
             error.isEmpty() ? QStringList() : QStringList{error});
    if (applied)
        QCOMPARE(QFontInfo(font).family(), family);
}

void TestHighlightFormats::systemFontForAnEmptyName()
{
    const QFont font = HighlightFormats::font(HighlightFont{{}, 15.5, false, false});
    QCOMPARE(font.family(), QFontDatabase::systemFont(QFontDatabase::GeneralFont).family());
    QCOMPARE(font.pointSizeF(), 15.5);
}

void TestHighlightFormats::colors_data()
{
    QTest::addColumn<QList<double>>("components");
    QTest::addColumn<QColor>("color");
    QTest::newRow("rgb") << QList<double>{1.0, 0.5, 0.0} << QColor::fromRgbF(1.0f, 0.5f, 0.0f);
    QTest::newRow("rgba") << QList<double>{0.0, 0.0, 1.0, 0.25}
                          << QColor::fromRgbF(0.0f, 0.0f, 1.0f, 0.25f);
    QTest::newRow("grey") << QList<double>{0.3} << QColor::fromRgbF(0.3f, 0.3f, 0.3f);
    QTest::newRow("grey and alpha")
        << QList<double>{1.0, 0.5} << QColor::fromRgbF(1.0f, 1.0f, 1.0f, 0.5f);
    QTest::newRow("none is black") << QList<double>{} << QColor(Qt::black);
    QTest::newRow("clamped") << QList<double>{2.0, -1.0, 0.5} << QColor::fromRgbF(1.0f, 0.0f, 0.5f);
}

void TestHighlightFormats::colors()
{
    QFETCH(QList<double>, components);
    QFETCH(QColor, color);
    QCOMPARE(HighlightFormats::color(Color(components)), color);
}

void TestHighlightFormats::formats()
{
    const ThemeAttributes theme = *BuiltInThemes::theme(QStringLiteral("default"));
    const QTextCharFormat title = HighlightFormats::format(
        SyntaxHighlight::classAttributes(QStringLiteral("hljs-title"), theme));
    QCOMPARE(title.foreground().color(), QColor(0x88, 0x00, 0x00));
    QCOMPARE(title.font().pointSizeF(), 13.0);

    // No colour key, no foreground property: what lies beneath stays visible.
    const QTextCharFormat keyword = HighlightFormats::format(
        SyntaxHighlight::classAttributes(QStringLiteral("hljs-keyword"), theme));
    QVERIFY(!keyword.hasProperty(QTextFormat::ForegroundBrush));
    QVERIFY(keyword.hasProperty(QTextFormat::FontPointSize));
    QVERIFY(HighlightFormats::format(TextAttributes()).properties().isEmpty());
}

int main(int argc, char** argv)
{
    TestEnvironment environment;
    QGuiApplication app(argc, argv);
    TestHighlightFormats tc;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}
#include "test_highlightformats.moc"
