// SPDX-License-Identifier: GPL-3.0-or-later
// The code editor under typing: a keystroke through to the repainted view (key event, text
// change, whole-text highlight, formats, paint) against highlightRanges alone on the same
// text, and opening a script in a new editor (its JavaScript context included).
#include "BenchScripts.h"
#include "BenchSupport.h"

#include "QuillonCommons/AppLogger.h"
#include "SyntaxHighlight/BuiltInThemes.h"
#include "SyntaxHighlight/SyntaxHighlight.h"
#include "SyntaxHighlight/TQCodeEditorTextView.h"

#include <QApplication>
#include <QKeyEvent>
#include <QTextBlock>

#include <cstdio>

namespace {

void type(QWidget* widget, Qt::Key key, const QString& text)
{
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, text);
    QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier, text);
    QApplication::sendEvent(widget, &press);
    QApplication::sendEvent(widget, &release);
}

std::unique_ptr<TQCodeEditorTextView> openEditor(const QString& text)
{
    auto view = std::make_unique<TQCodeEditorTextView>();
    view->resize(900, 700);
    view->setSyntaxHighlightEnabled(true);
    view->setThemeName(QStringLiteral("default"));
    view->setString(text);
    view->show();
    view->viewport()->repaint();
    return view;
}

void keystrokes(int lines, int runs)
{
    const QString text = bench::bashScript(lines);
    const auto view = openEditor(text);
    QTextCursor cursor(view->document()->findBlockByNumber(lines / 2));
    cursor.movePosition(QTextCursor::EndOfBlock);
    view->setTextCursor(cursor);
    view->centerCursor();
    QCoreApplication::processEvents();

    // Typing a letter and taking it back again keeps the text the same size throughout.
    const std::vector<double> typing = bench::timeRuns(runs, [&] {
        static bool erase = false;
        if (erase)
            type(view.get(), Qt::Key_Backspace, QString());
        else
            type(view.get(), Qt::Key_X, QStringLiteral("x"));
        erase = !erase;
        view->viewport()->repaint();
    });

    SyntaxHighlight engine;
    const ThemeAttributes theme = *BuiltInThemes::theme(QStringLiteral("default"));
    const QString current = view->toPlainText();
    engine.highlightRanges(current, QStringLiteral("bash"), theme);
    const std::vector<double> ranges = bench::timeRuns(
        runs, [&] { engine.highlightRanges(current, QStringLiteral("bash"), theme); });

    char what[96];
    std::snprintf(what, sizeof what, "keystroke to repaint, %d lines", lines);
    bench::report(what, typing, lines <= 1000 ? "(goal: median < 16 ms)" : "");
    std::snprintf(what, sizeof what, "highlightRanges alone, %d lines", lines);
    bench::report(what, ranges);
    std::printf("  keystroke / highlightRanges                       %6.2fx %s\n",
                bench::median(typing) / bench::median(ranges),
                lines > 1000 ? "(goal: <= 1.3x)" : "");
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    AppLogger::setLevel(LogLevel::warning);

    {
        // The first context of the process compiles the grammars; the editor opens later.
        SyntaxHighlight warm;
    }
    const QString script = bench::bashScript(1000);
    const std::vector<double> opening = bench::timeRuns(15, [&] { openEditor(script); });
    bench::report("open a 1,000-line script (view, context, paint)", opening,
                  "(goal: median < 60 ms)");

    keystrokes(1000, 61);
    keystrokes(10000, 21);
    return 0;
}
