// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/CommandLineFront.h"

#include "App/Preferences.h"
#include "Model/ScriptsManager.h"
#include "QuillonCommons/AppLogger.h"

#include <QCommandLineParser>

#include <cstdio>

CommandLineFront::CommandLineFront()
    : m_stdout(stdout), m_stderr(stderr), m_out(m_stdout), m_err(m_stderr)
{}

CommandLineFront::CommandLineFront(QTextStream& out, QTextStream& err) : m_out(out), m_err(err) {}

void CommandLineFront::loadLibrary(ScriptsManager& manager)
{
    if (Preferences::shared().boolean(Preferences::Identifier::includeBuiltInScripts))
        manager.loadBuiltInScripts();
    manager.loadScripts(false);
}

QString CommandLineFront::listing(const ScriptsManager& manager)
{
    QString text;
    for (const ScriptPtr& script : manager.scripts()) {
        text += script->id() + QLatin1Char('\t') + script->name() + QLatin1Char('\t') +
                script->category() + QLatin1Char('\n');
    }
    return text;
}

int CommandLineFront::run(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Brambleworth keeps a library of small scripts one keystroke away.\n"
                       "Preferences can be given for this run as -KEY VALUE pairs, for example\n"
                       "-CUSTOM_APPLICATION_SUPPORT_DIRECTORY /tmp/x -IncludeBuiltInScripts NO."));
    const QCommandLineOption helpOption = parser.addHelpOption();
    const QCommandLineOption versionOption = parser.addVersionOption();
    const QCommandLineOption listOption(
        QStringLiteral("list"),
        QStringLiteral("Print the library: id, name and category, tab-separated."));
    const QCommandLineOption verboseOption(
        QStringLiteral("verbose"), QStringLiteral("Log progress messages to standard error too."));
    parser.addOption(listOption);
    parser.addOption(verboseOption);

    if (!parser.parse(arguments)) {
        m_err << parser.errorText() << Qt::endl;
        return 1;
    }
    if (parser.isSet(helpOption)) {
        m_out << parser.helpText();
        m_out.flush();
        return 0;
    }
    if (parser.isSet(versionOption)) {
        m_out << QCoreApplication::applicationName() << ' '
              << QCoreApplication::applicationVersion() << Qt::endl;
        return 0;
    }
    // A terminal wants the output it asked for; progress lines only on request.
    AppLogger::setLevel(parser.isSet(verboseOption) ? LogLevel::all : LogLevel::warning);

    ScriptsManager& manager = ScriptsManager::shared();
    loadLibrary(manager);
    m_out << listing(manager);
    m_out.flush();
    return 0;
}
