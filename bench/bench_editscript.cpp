// SPDX-License-Identifier: GPL-3.0-or-later
// The script editor pane in the main window: selecting a script to a painted, highlighted
// pane; a keystroke in a linked script's text through to the repaint and the written file;
// renaming by typing into the name field in a large library.
#include "BenchScripts.h"
#include "BenchSupport.h"

#include "Model/AppConfig.h"
#include "Model/Bookmark.h"
#include "Model/Preferences.h"
#include "QuillonCommons/AppLogger.h"
#include "QuillonCommons/NotificationCenter.h"
#include "SyntaxHighlight/SyntaxHighlight.h"
#include "SyntaxHighlight/TQCodeEditorTextView.h"
#include "UI/EditScriptViewController.h"
#include "UI/MainWindow.h"
#include "UI/MainWindowContoller.h"
#include "UI/SidebarViewController.h"

#include <QApplication>
#include <QFile>
#include <QKeyEvent>
#include <QLineEdit>
#include <QTemporaryDir>
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

EditScriptViewController* currentPane(MainWindowContoller& controller)
{
    return qobject_cast<EditScriptViewController*>(controller.detailView());
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    AppLogger::setLevel(LogLevel::warning);
    QTemporaryDir folder;
    Preferences preferences(folder.filePath(QStringLiteral("settings.conf")));
    preferences.setValue(Preferences::customApplicationSupportDirectoryKey(), folder.path());
    preferences.setValue(QStringLiteral("UseSyntaxtHighlighting"), true);
    preferences.setValue(QStringLiteral("SyntaxtHighlightThemeName"), QStringLiteral("default"));
    AppConfig::setPreferences(&preferences);
    SyntaxHighlight::shared().setPreferences(&preferences);

    ScriptsManager manager;
    NotificationCenter center;
    MainWindowContoller controller(preferences, &center);
    controller.setScriptsManager(&manager);
    controller.setScriptPaneFactory([&](const ScriptPtr& script, MainWindowContoller& c) {
        auto* pane = new EditScriptViewController(
            script, preferences, [] { return SyntaxHighlight::shared().availableLanguages(); });
        pane->setScriptsManager(c.scriptsManager());
        return pane;
    });

    const QString text = bench::bashScript(1000);
    const QString linkedPath = folder.filePath(QStringLiteral("linked.sh"));
    {
        QFile file(linkedPath);
        if (!file.open(QIODevice::WriteOnly))
            return 1;
        file.write(text.toUtf8());
    }
    ScriptList scripts;
    for (int i = 0; i < 1000; ++i) {
        auto script = Script::create(QStringLiteral("Script %1").arg(i, 4, 10, QLatin1Char('0')),
                                     i < 2 ? text : QStringLiteral("echo %1\n").arg(i), false);
        script->setLanguage(QStringLiteral("bash"));
        scripts.append(script);
    }
    scripts[2]->setBookmark(Bookmark::create(linkedPath));
    manager.setScripts(scripts);
    controller.window()->resize(1100, 760);
    controller.showWindow();
    QCoreApplication::processEvents();

    // Selecting: the pane made, its text laid out and highlighted, and painted.
    int turn = 0;
    const std::vector<double> selecting = bench::timeRuns(31, [&] {
        controller.sidebarViewController()->selectScript(scripts.at(turn++ % 2));
        EditScriptViewController* pane = currentPane(controller);
        pane->codeEditor()->viewport()->repaint();
        controller.window()->repaint();
    });
    bench::report("select a 1,000-line script to a painted pane", selecting,
                  "(goal: median < 80 ms)");

    // A keystroke in a linked script: the text, the file and the repaint.
    controller.sidebarViewController()->selectScript(scripts.at(2));
    EditScriptViewController* linked = currentPane(controller);
    QTextCursor cursor(linked->codeEditor()->document()->findBlockByNumber(500));
    cursor.movePosition(QTextCursor::EndOfBlock);
    linked->codeEditor()->setTextCursor(cursor);
    bool erase = false;
    const std::vector<double> typing = bench::timeRuns(61, [&] {
        if (erase)
            type(linked->codeEditor(), Qt::Key_Backspace, QString());
        else
            type(linked->codeEditor(), Qt::Key_X, QStringLiteral("x"));
        erase = !erase;
        linked->codeEditor()->viewport()->repaint();
    });
    bench::report("keystroke in a linked 1,000-line script, written", typing,
                  "(goal: median < 20 ms)");

    // Renaming in a library of 1,000 scripts, one keystroke at a time.
    controller.sidebarViewController()->selectScript(scripts.at(500));
    EditScriptViewController* renamed = currentPane(controller);
    renamed->nameTextField()->setCursorPosition(renamed->nameTextField()->text().size());
    int jumps = 0;
    const std::vector<double> renaming = bench::timeRuns(20, [&] {
        type(renamed->nameTextField(), Qt::Key_A, QStringLiteral("a"));
        controller.window()->repaint();
        const auto selected = controller.sidebarViewController()->selectedObject();
        const auto* script = std::get_if<ScriptPtr>(&selected);
        if (!script || *script != scripts.at(500))
            ++jumps;
    });
    bench::report("rename keystroke, 1,000-script library", renaming,
                  "(goal: every keystroke < 16 ms)");
    std::printf("  slowest rename keystroke %.3f ms, selection jumps %d (goal: 0)\n",
                bench::percentile(renaming, 1.0), jumps);
    return 0;
}
