// SPDX-License-Identifier: GPL-3.0-or-later
// The application in process: the main window opened and painted over a large library, the tray
// menu rebuilt as it opens, and the memory left behind by many hot-key runs.
#include "BenchSupport.h"

#include "App/BrambleworthAppDelegate.h"
#include "Model/AppConfig.h"
#include "Model/Preferences.h"
#include "QuillonCommons/AppLogger.h"
#include "QuillonCommons/NotificationCenter.h"
#include "UI/MainWindow.h"
#include "UI/MainWindowContoller.h"

#include <QApplication>
#include <QFile>
#include <QMenu>
#include <QTemporaryDir>

namespace {

ScriptList makeScripts(int count, const QString& text)
{
    ScriptList scripts;
    scripts.reserve(count);
    for (int i = 0; i < count; ++i) {
        auto s = Script::create(QStringLiteral("Script number %1").arg(i), text, false);
        s->setCategory(QStringLiteral("Category %1").arg(i % 12));
        scripts << s;
    }
    return scripts;
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTemporaryDir folder;
    Preferences preferences(folder.filePath(QStringLiteral("settings.conf")));
    preferences.setValue(Preferences::customApplicationSupportDirectoryKey(), folder.path());
    AppConfig::setPreferences(&preferences);
    AppLogger::setLevel(LogLevel::severe);

    ScriptsManager manager;
    manager.setScripts(makeScripts(1000, QStringLiteral("#!/bin/sh\necho hello\n")));

    NotificationCenter center;
    const auto open = bench::timeRuns(21, [&] {
        MainWindowContoller controller(preferences, &center);
        controller.setScriptsManager(&manager);
        controller.showWindow();
        controller.window()->repaint();
    });
    bench::report("main window opened and painted, 1,000 scripts", open, "(goal < 150 ms)");

    BrambleworthAppDelegate delegate(manager, preferences);
    delegate.isTrayAvailable = [] {
        return true;
    };
    delegate.isMenuExportedOverDBus = [] {
        return false;
    };
    manager.saveScripts();
    manager.setScripts({});
    delegate.applicationDidFinishLaunching();
    if (manager.scripts().size() != 1000)
        qFatal("loaded %lld scripts", qlonglong(manager.scripts().size()));
    QMenu* menu = delegate.statusMenu();
    const auto flat = bench::timeRuns(51, [&] { delegate.menuNeedsUpdate(menu); });
    bench::report("tray menu rebuilt, 1,000 scripts", flat);
    preferences.setValue(Preferences::Identifier::arrangeScriptMenuByCategories, true);
    const auto grouped = bench::timeRuns(51, [&] { delegate.menuNeedsUpdate(menu); });
    bench::report("tray menu rebuilt, 1,000 scripts in 12 categories", grouped);

    // Hot-key runs of a short script, each waited for; the runs leave the list as they end.
    const QString id = manager.scripts().first()->id();
    manager.scripts().first()->setContent(QStringLiteral("#!/bin/sh\n:\n"));
    const auto oneRun = [&] {
        delegate.hotKeyPressed(id);
        if (!bench::spinUntil([&] { return delegate.executor().runningScripts().isEmpty(); },
                              10000))
            qFatal("a run did not end");
    };
    for (int i = 0; i < 50; ++i)
        oneRun();
    const long before = bench::residentKiB();
    const auto runs = bench::timeRuns(1000, oneRun);
    const long after = bench::residentKiB();
    bench::report("hot-key run of a short script, start to end", runs);
    std::printf("%-58s %+.2f MiB (goal within 2 MiB)\n", "resident memory after 1,000 hot-key runs",
                double(after - before) / 1024.0);
    return 0;
}
