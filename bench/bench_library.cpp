// SPDX-License-Identifier: GPL-3.0-or-later
// Library load and save: the name field saves the whole library on every keystroke.
#include "BenchSupport.h"

#include "Model/AppConfig.h"
#include "Model/Preferences.h"
#include "Model/ScriptsManager.h"
#include "QuillonCommons/AppLogger.h"

#include <QCoreApplication>
#include <QTemporaryDir>

namespace {

// About 1 KiB of ordinary shell text, quotes and line breaks included, so escaping is paid for.
QString scriptText(int i)
{
    QString text =
        QStringLiteral(
            "#!/bin/bash\n# script %1: back up \"projects\" and report\nset -euo pipefail\n")
            .arg(i);
    while (text.size() < 1024)
        text += QStringLiteral("rsync -a --delete \"$HOME/projects/\" \"/mnt/backup/$(date +%F)/\" "
                               "&& echo \"done\\t$?\"\n");
    text.truncate(1024);
    return text;
}

ScriptList makeScripts(int count)
{
    ScriptList scripts;
    scripts.reserve(count);
    for (int i = 0; i < count; ++i) {
        auto s = Script::create(QStringLiteral("Script number %1").arg(i), scriptText(i), false);
        s->setCategory(i % 3 ? QStringLiteral("Tools") : QString());
        scripts << s;
    }
    return scripts;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir folder;
    Preferences::shared().setArguments({QStringLiteral("bench"),
                                        QStringLiteral("-CUSTOM_APPLICATION_SUPPORT_DIRECTORY"),
                                        folder.path()});
    AppConfig::setPreferences(&Preferences::shared());
    AppLogger::setLevel(LogLevel::error);

    for (const int count : {500, 10000}) {
        ScriptsManager manager;
        manager.setScripts(makeScripts(count));
        const int runs = count > 1000 ? 21 : 101;
        const QByteArray label = QByteArray::number(count);

        const auto save = bench::timeRuns(runs, [&] { manager.saveScripts(); });
        bench::report(("save " + label + " scripts of 1 KiB").constData(), save,
                      count == 500 ? "(goal < 5 ms)" : "");

        const auto load = bench::timeRuns(runs, [&] {
            ScriptsManager reader;
            reader.loadScripts(false);
            if (reader.scripts().size() != count)
                qFatal("loaded %lld scripts", qlonglong(reader.scripts().size()));
        });
        bench::report(("load " + label + " scripts of 1 KiB").constData(), load);

        const auto both = bench::timeRuns(runs, [&] {
            ScriptsManager reader;
            reader.loadScripts(false);
            reader.saveScripts();
        });
        bench::report(("load + save " + label + " scripts of 1 KiB").constData(), both,
                      count == 10000 ? "(goal < 150 ms)" : "");
    }
    return 0;
}
