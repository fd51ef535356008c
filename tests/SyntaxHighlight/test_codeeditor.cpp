// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/GuiTestSupport.h"

#include "QuillonCommons/AppLogger.h"
#include "QuillonCommons/LogCapture.h"
#include "SyntaxHighlight/BuiltInThemes.h"
#include "SyntaxHighlight/HighlightFormats.h"
#include "SyntaxHighlight/TQCodeEditorFindBar.h"
#include "SyntaxHighlight/TQCodeEditorSyntaxtHighlighter.h"
#include "SyntaxHighlight/TQCodeEditorTextView.h"

#include <QClipboard>
#include <QFontInfo>
#include <QImage>
#include <QLineEdit>
#include <QMimeData>
#include <QSignalSpy>
#include <QTextBlock>
#include <QTextLayout>

namespace {

const QString bashScript = QStringLiteral("#!/bin/bash\n"
                                          "# Back up the home folder, keeping seven days.\n"
                                          "set -euo pipefail\n"
                                          "target=\"/mnt/backup/$(date +%F)\"\n"
                                          "if [ ! -d \"$target\" ]; then\n"
                                          "    mkdir -p \"$target\"\n"
                                          "fi\n"
                                          "for day in 1 2 3; do\n"
                                          "    echo \"pass $day of 3\" >&2\n"
                                          "done\n"
                                          "rsync -a --delete ~/ \"$target\" && echo 'done'\n");

// What a character is drawn in: its format's colour, else the view's text colour.
QColor drawnColor(const TQCodeEditorTextView& view, int position)
{
    const QTextBlock block = view.document()->findBlock(position);
    const int offset = position - block.position();
    QColor color = view.palette().color(QPalette::Text);
    for (const QTextLayout::FormatRange& range : block.layout()->formats()) {
        if (offset >= range.start && offset < range.start + range.length &&
            range.format.hasProperty(QTextFormat::ForegroundBrush))
            color = range.format.foreground().color();
    }
    return color;
}

QList<QList<QTextLayout::FormatRange>> blockFormats(const TQCodeEditorTextView& view)
{
    QList<QList<QTextLayout::FormatRange>> formats;
    for (QTextBlock block = view.document()->begin(); block.isValid(); block = block.next())
        formats.append(block.layout()->formats());
    return formats;
}

QColor themeColor(const std::optional<Color>& color)
{
    return HighlightFormats::color(color.value_or(Color::fromString(QStringLiteral("#000000"))));
}

} // namespace

class TestCodeEditor : public QObject
{
    Q_OBJECT

private slots:
    void defaults();
    void themes_data();
    void themes();
    void unknownTheme();
    void uncolouredRunsUseTheThemeText();
    void switchingOffRestoresTheSystemColours();
    void undoRestoresTypedTextOnly();
    void keystrokeReformatsItsLineOnly();
    void sameTextTwiceHighlightsTwice();
    void pastesPlainTextOnly_data();
    void pastesPlainTextOnly();
    void findField();
    void setValueByKey();
};

void TestCodeEditor::defaults()
{
    TQCodeEditorTextView view;
    QCOMPARE(view.isSyntaxHighlightEnabled(), false);
    QCOMPARE(view.language(), QStringLiteral("bash"));
    QCOMPARE(view.themeName(), QString());
    TQCodeEditorSyntaxtHighlighter* highlighter = view.syntaxtHilighter();
    QVERIFY(highlighter);
    QCOMPARE(highlighter->enabled(), false);
    QCOMPARE(highlighter->language(), QStringLiteral("bash"));
    QCOMPARE(highlighter->themeName(), QStringLiteral("solarized-dark"));
    QCOMPARE(highlighter->themeAttributes(), *BuiltInThemes::theme("solarized-dark"));
    QVERIFY(!view.isReadOnly());
    QVERIFY(view.isUndoRedoEnabled());
    // Debian has no Monaco; whatever fontconfig offers for the name must not be taken blindly.
    QVERIFY(QFontInfo(view.font()).fixedPitch());
    QCOMPARE(view.palette().color(QPalette::Base),
             QApplication::palette(&view).color(QPalette::Base));

    // Each view has its own engine instance.
    TQCodeEditorTextView other;
    QVERIFY(&other.syntaxtHilighter()->syntaxHighlither() != &highlighter->syntaxHighlither());
}

void TestCodeEditor::themes_data()
{
    QTest::addColumn<QString>("theme");
    QTest::newRow("default") << "default";
    QTest::newRow("monokai") << "monokai";
    QTest::newRow("solarized-dark") << "solarized-dark";
}

void TestCodeEditor::themes()
{
    QFETCH(QString, theme);
    const ThemeAttributes attributes = *BuiltInThemes::theme(theme);

    TQCodeEditorTextView view;
    view.resize(640, 360);
    view.setSyntaxHighlightEnabled(true);
    view.setThemeName(theme);
    view.setString(bashScript);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));

    QCOMPARE(view.palette().color(QPalette::Base), themeColor(attributes.backgroundColor));
    QCOMPARE(view.palette().color(QPalette::Text), themeColor(attributes.defaultAttributes.color));
    const int comment = bashScript.indexOf(QStringLiteral("# Back"));
    QCOMPARE(drawnColor(view, comment + 3), themeColor(attributes.comment->color));
    QVERIFY(GuiTestSupport::saveScreenshot(&view, QStringLiteral("editor-bash-") + theme));
}

void TestCodeEditor::unknownTheme()
{
    TQCodeEditorTextView view;
    view.setSyntaxHighlightEnabled(true);
    LogCapture capture;
    view.setThemeName(QStringLiteral("no-such-theme"));
    const QStringList errors = capture.messages(LogLevel::error);
    QCOMPARE(errors.size(), 1);
    QVERIFY2(errors.first().startsWith(QStringLiteral("subscript(_:):")),
             qPrintable(errors.first()));

    QCOMPARE(view.syntaxtHilighter()->themeAttributes(),
             TQCodeEditorSyntaxtHighlighter::fallbackTheme());
    view.setString(bashScript);
    // Black text without token colours, on the system background.
    for (int position = 0; position < bashScript.size(); ++position)
        QCOMPARE(drawnColor(view, position), QColor(Qt::black));
    QCOMPARE(view.palette().color(QPalette::Base),
             QApplication::palette(&view).color(QPalette::Base));
}

void TestCodeEditor::uncolouredRunsUseTheThemeText()
{
    // Atom One Dark gives "strong" a bold face and no colour of its own.
    const ThemeAttributes dark = *BuiltInThemes::theme("atom-one-dark");
    QVERIFY(dark.strong && !dark.strong->color);
    TQCodeEditorTextView view;
    view.setSyntaxHighlightEnabled(true);
    view.setThemeName(QStringLiteral("atom-one-dark"));
    view.setLanguage(QStringLiteral("markdown"));
    const QString text = QStringLiteral("Some **loud** words\n");
    view.setString(text);
    QCOMPARE(drawnColor(view, text.indexOf(QStringLiteral("loud"))),
             themeColor(dark.defaultAttributes.color));
}

void TestCodeEditor::switchingOffRestoresTheSystemColours()
{
    TQCodeEditorTextView view;
    view.setSyntaxHighlightEnabled(true);
    view.setThemeName(QStringLiteral("monokai"));
    view.setString(bashScript);
    const auto highlighted = blockFormats(view);

    QSignalSpy changes(&view, &TQCodeEditorTextView::isSyntaxHighlightEnabledChanged);
    view.setSyntaxHighlightEnabled(false);
    QCOMPARE(changes.size(), 1);
    const QPalette system = QApplication::palette(&view);
    QCOMPARE(view.palette().color(QPalette::Base), system.color(QPalette::Base));
    QCOMPARE(view.palette().color(QPalette::Text), system.color(QPalette::Text));
    // The last colours stay until the text changes; an edited line loses them.
    QCOMPARE(blockFormats(view), highlighted);
    QTextCursor cursor(view.document()->findBlockByNumber(1));
    cursor.insertText(QStringLiteral("x"));
    QVERIFY(view.document()->findBlockByNumber(1).layout()->formats().isEmpty());
    QCOMPARE(view.document()->findBlockByNumber(2).layout()->formats(), highlighted[2]);
}

void TestCodeEditor::undoRestoresTypedTextOnly()
{
    TQCodeEditorTextView view;
    view.setSyntaxHighlightEnabled(true);
    view.setThemeName(QStringLiteral("default"));
    view.setString(QStringLiteral("echo one\n"));
    view.moveCursor(QTextCursor::End);
    QTest::keyClicks(&view, QStringLiteral("if true; then"));
    QTest::keyClick(&view, Qt::Key_Return);
    QTest::keyClicks(&view, QStringLiteral("fi"));
    const QString typed = view.string();
    const auto coloured = blockFormats(view);

    while (view.document()->isUndoAvailable())
        view.undo();
    // Only typing was undone, never a colour: back to the text that was set, and its colours.
    QCOMPARE(view.string(), QStringLiteral("echo one\n"));
    while (view.document()->isRedoAvailable())
        view.redo();
    QCOMPARE(view.string(), typed);
    QCOMPARE(blockFormats(view), coloured);
}

void TestCodeEditor::keystrokeReformatsItsLineOnly()
{
    QString script;
    for (int line = 0; line < 300; ++line)
        script += QStringLiteral("echo \"line %1\" | grep -q line # note\n").arg(line);
    TQCodeEditorTextView view;
    view.resize(500, 300);
    view.setSyntaxHighlightEnabled(true);
    view.setThemeName(QStringLiteral("monokai"));
    view.setString(script);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    QCOMPARE(view.syntaxtHilighter()->reformattedBlockCount(), 301);

    // A keystroke inside a line changes that line's formats alone.
    QTextCursor cursor(view.document()->findBlockByNumber(150));
    cursor.movePosition(QTextCursor::EndOfWord);
    view.setTextCursor(cursor);
    QTest::keyClicks(&view, QStringLiteral("x"));
    QCOMPARE(view.syntaxtHilighter()->reformattedBlockCount(), 1);

    // An opening quote colours everything after it, and those lines change with it.
    cursor.movePosition(QTextCursor::StartOfBlock);
    view.setTextCursor(cursor);
    QTest::keyClicks(&view, QStringLiteral("'"));
    QVERIFY(view.syntaxtHilighter()->reformattedBlockCount() > 100);

    // Whatever was kept, the colours are those of the whole new text.
    TQCodeEditorTextView fresh;
    fresh.setSyntaxHighlightEnabled(true);
    fresh.setThemeName(QStringLiteral("monokai"));
    fresh.setString(view.string());
    QCOMPARE(blockFormats(view), blockFormats(fresh));
}

void TestCodeEditor::sameTextTwiceHighlightsTwice()
{
    TQCodeEditorTextView view;
    view.setSyntaxHighlightEnabled(true);
    QSignalSpy highlights(view.syntaxtHilighter(), &TQCodeEditorSyntaxtHighlighter::highlighted);
    view.setString(bashScript);
    view.setString(bashScript);
    QCOMPARE(highlights.size(), 2);
    view.setSyntaxHighlightEnabled(false);
    view.setString(bashScript);
    QCOMPARE(highlights.size(), 2);
}

void TestCodeEditor::pastesPlainTextOnly_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("inserted");
    QTest::newRow("rich text") << "html"
                               << "bold words";
    QTest::newRow("image") << "image"
                           << "";
    QTest::newRow("files") << "urls"
                           << "/tmp/a.sh";
}

void TestCodeEditor::pastesPlainTextOnly()
{
    QFETCH(QString, kind);
    QFETCH(QString, inserted);
    auto* data = new QMimeData;
    if (kind == u"html") {
        data->setHtml(QStringLiteral("<b style=\"color:red\">bold</b> words"));
        data->setText(QStringLiteral("bold words"));
    } else if (kind == u"image") {
        QImage image(8, 8, QImage::Format_RGB32);
        image.fill(Qt::red);
        data->setImageData(image);
    } else {
        data->setUrls({QUrl::fromLocalFile(QStringLiteral("/tmp/a.sh"))});
        data->setText(QStringLiteral("/tmp/a.sh"));
    }
    QGuiApplication::clipboard()->setMimeData(data);

    TQCodeEditorTextView view;
    view.setString(QStringLiteral(">"));
    view.moveCursor(QTextCursor::End);
    view.paste();
    QCOMPARE(view.string(), QStringLiteral(">") + inserted);
    for (QTextBlock block = view.document()->begin(); block.isValid(); block = block.next()) {
        for (QTextBlock::iterator it = block.begin(); !it.atEnd(); ++it)
            QVERIFY(!it.fragment().charFormat().hasProperty(QTextFormat::FontWeight));
    }
    QCOMPARE(view.document()->find(QStringLiteral("\uFFFC")).isNull(), true);
}

void TestCodeEditor::findField()
{
    TQCodeEditorTextView view;
    view.resize(500, 300);
    view.setString(QStringLiteral("echo a\nls\necho b\n"));
    view.show();
    view.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&view));

    QTest::keyClick(&view, Qt::Key_F, Qt::ControlModifier);
    TQCodeEditorFindBar* bar = view.findBar();
    QVERIFY(bar->isVisible());
    QTRY_VERIFY(bar->field()->hasFocus());
    QVERIFY(GuiTestSupport::saveScreenshot(&view, QStringLiteral("editor-find")));
    QTest::keyClicks(bar->field(), QStringLiteral("echo"));

    QTest::keyClick(bar->field(), Qt::Key_Return);
    QCOMPARE(view.textCursor().selectionStart(), 0);
    QTest::keyClick(bar->field(), Qt::Key_Return);
    QCOMPARE(view.textCursor().selectionStart(), 10);
    // Past the last match it wraps to the first; previous goes back over the start.
    QTest::keyClick(bar->field(), Qt::Key_Return);
    QCOMPARE(view.textCursor().selectionStart(), 0);
    QTest::keyClick(bar->field(), Qt::Key_Return, Qt::ShiftModifier);
    QCOMPARE(view.textCursor().selectionStart(), 10);
    QCOMPARE(view.textCursor().selectedText(), QStringLiteral("echo"));

    bar->field()->setText(QStringLiteral("missing"));
    QVERIFY(!view.findNext());
    QCOMPARE(view.textCursor().selectionStart(), 10);

    QTest::keyClick(bar->field(), Qt::Key_Escape);
    QVERIFY(!bar->isVisible());
    QTRY_VERIFY(view.hasFocus());
}

void TestCodeEditor::setValueByKey()
{
    TQCodeEditorTextView view;
    const LogLevel level = AppLogger::level();
    AppLogger::setLevel(LogLevel::debug);
    LogCapture capture;
    view.setValue(QStringLiteral("python"), QStringLiteral("language"));
    view.setValue(true, QStringLiteral("isSyntaxHighlightEnabled"));
    QCOMPARE(view.language(), QStringLiteral("python"));
    QCOMPARE(view.syntaxtHilighter()->language(), QStringLiteral("python"));
    QVERIFY(view.isSyntaxHighlightEnabled());
    QVERIFY(capture.contains(LogLevel::debug, QStringLiteral("setValue(python, forKey:language)")));
    QVERIFY(capture.contains(LogLevel::debug,
                             QStringLiteral("setValue(true, forKey:isSyntaxHighlightEnabled)")));
    AppLogger::setLevel(level);
}

BRAMBLEWORTH_GUI_TEST_MAIN(TestCodeEditor)
#include "test_codeeditor.moc"
