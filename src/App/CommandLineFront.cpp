// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/CommandLineFront.h"

#include "Execution/ScriptExecutorManager.h"
#include "Model/Preferences.h"
#include "Model/ScriptsManager.h"
#include "QuillonCommons/AppLogger.h"

#include <QCommandLineParser>
#include <QEventLoop>
#include <QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <iterator>
#include <memory>
#include <unistd.h>

namespace {

// The script runs in a session of its own, out of reach of the terminal's interrupt key: while
// brambleworth waits for it, the signals that would end brambleworth are passed on to it as an
// interrupt instead, and brambleworth ends with the script.
class InterruptForwarding
{
public:
    InterruptForwarding()
    {
        if (::pipe2(s_pipe, O_CLOEXEC | O_NONBLOCK) != 0)
            return;
        struct sigaction action
        {};
        action.sa_handler = &InterruptForwarding::onSignal;
        sigemptyset(&action.sa_mask);
        action.sa_flags = SA_RESTART;
        for (size_t i = 0; i < std::size(s_signals); ++i)
            ::sigaction(s_signals[i], &action, &m_previous[i]);
        m_notifier = std::make_unique<QSocketNotifier>(s_pipe[0], QSocketNotifier::Read);
    }
    ~InterruptForwarding()
    {
        if (!m_notifier)
            return;
        m_notifier.reset();
        for (size_t i = 0; i < std::size(s_signals); ++i)
            ::sigaction(s_signals[i], &m_previous[i], nullptr);
        ::close(s_pipe[0]);
        ::close(s_pipe[1]);
        s_pipe[0] = s_pipe[1] = -1;
    }
    InterruptForwarding(const InterruptForwarding&) = delete;
    InterruptForwarding& operator=(const InterruptForwarding&) = delete;

    QSocketNotifier* notifier() const { return m_notifier.get(); }
    static void drain()
    {
        char bytes[64];
        while (::read(s_pipe[0], bytes, sizeof bytes) > 0) {
        }
    }

private:
    static void onSignal(int)
    {
        const int saved = errno;
        const char byte = 1;
        [[maybe_unused]] const ssize_t written = ::write(s_pipe[1], &byte, 1);
        errno = saved;
    }

    static constexpr int s_signals[] = {SIGINT, SIGTERM, SIGHUP};
    static inline int s_pipe[2] = {-1, -1};
    struct sigaction m_previous[std::size(s_signals)] = {};
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace

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
    return listing(manager.scripts());
}

QString CommandLineFront::listing(const ScriptList& scripts)
{
    QString text;
    for (const ScriptPtr& script : scripts) {
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
    const QCommandLineOption runOption(
        QStringLiteral("run"),
        QStringLiteral("Run the script with this id or name, print its output as it comes and exit "
                       "with its exit status."),
        QStringLiteral("NAME_OR_ID"));
    parser.addOption(listOption);
    parser.addOption(runOption);
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
    if (parser.isSet(runOption))
        return runScript(manager, parser.value(runOption));
    m_out << listing(manager);
    m_out.flush();
    return 0;
}

ScriptList CommandLineFront::find(const ScriptsManager& manager, const QString& nameOrId)
{
    if (ScriptPtr script = manager.script(nameOrId))
        return {script};
    ScriptList matches;
    for (const ScriptPtr& script : manager.scripts()) {
        if (script->name() == nameOrId)
            matches.append(script);
    }
    return matches;
}

int CommandLineFront::runScript(ScriptsManager& manager, const QString& nameOrId)
{
    const ScriptList matches = find(manager, nameOrId);
    if (matches.isEmpty()) {
        m_err << "brambleworth: no script has the id or name “" << nameOrId << "”." << Qt::endl;
        return 1;
    }
    if (matches.size() > 1) {
        m_err << "brambleworth: " << matches.size() << " scripts are named “" << nameOrId
              << "”; run one of them by its id:" << Qt::endl;
        m_err << listing(matches);
        m_err.flush();
        return 1;
    }

    const ScriptPtr& script = matches.first();
    ScriptExecutorManager executor;
    try {
        executor.startExecution(script);
    } catch (const AppError& error) {
        QString message = error.description();
        if (message.endsWith(QLatin1Char('.')))
            message.chop(1);
        if (!error.failureReason().isEmpty())
            message += QStringLiteral(": ") + error.failureReason();
        m_err << "brambleworth: cannot run “" << script->name() << "”: " << message << Qt::endl;
        return 1;
    }

    const RunningScriptPtr run = executor.runningScripts().last();
    QEventLoop loop;
    InterruptForwarding forwarding;
    if (forwarding.notifier()) {
        QObject::connect(forwarding.notifier(), &QSocketNotifier::activated, &loop, [&run] {
            InterruptForwarding::drain();
            if (std::shared_ptr<ScriptProcess> process = run->process())
                process->interrupt();
        });
    }
    qsizetype written = 0;
    QObject::connect(run.get(), &RunningScript::logsChanged, &loop,
                     [this, &written](const QString& logs) {
                         m_out << QStringView(logs).mid(written);
                         m_out.flush();
                         written = logs.size();
                     });
    QObject::connect(run.get(), &RunningScript::terminated, &loop,
                     [&loop](const ScriptProcess::Termination& termination) {
                         loop.exit(termination.shellStatus());
                     });
    return loop.exec();
}
