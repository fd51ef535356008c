// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/CommandLineFront.h"

#include "Execution/ScriptExecutorManager.h"
#include "Model/Preferences.h"
#include "Model/Script.h"
#include "Model/ScriptsManager.h"
#include "QuillonCommons/AppError.h"
#include "QuillonCommons/AppLogger.h"
#include "QuillonCommons/FileUtils.h"

#include <QCommandLineParser>
#include <QEventLoop>
#include <QFileInfo>
#include <QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <iterator>
#include <memory>
#include <poll.h>
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

// All of it, whatever the descriptor's mode: a standard output left non-blocking by whoever
// started us is waited for rather than losing bytes. Fails quietly when the reader has gone.
void writeAll(int fd, QByteArrayView bytes)
{
    const char* p = bytes.data();
    qsizetype left = bytes.size();
    while (left > 0) {
        const ssize_t n = ::write(fd, p, size_t(left));
        if (n > 0) {
            p += n;
            left -= n;
        } else if (n < 0 && errno == EAGAIN) {
            pollfd writable{fd, POLLOUT, 0};
            ::poll(&writable, 1, -1);
        } else if (n < 0 && errno != EINTR) {
            return;
        }
    }
}

QString describe(const AppError& error)
{
    QString message = error.description();
    if (message.endsWith(QLatin1Char('.')))
        message.chop(1);
    if (!error.failureReason().isEmpty())
        message += QStringLiteral(": ") + error.failureReason();
    return message;
}

} // namespace

CommandLineFront::CommandLineFront()
    : m_stdout(stdout), m_stderr(stderr), m_out(m_stdout), m_err(m_stderr)
{}

CommandLineFront::CommandLineFront(QTextStream& out, QTextStream& err) : m_out(out), m_err(err) {}

std::optional<QString> CommandLineFront::loadLibrary(ScriptsManager& manager)
{
    // The manager logs a library it cannot read and carries on with none, as the application
    // must; a terminal has to be told instead, so the file is tried here first. A first start
    // has no file yet, which is no error.
    const std::optional<QString> path = ScriptsManager::libraryFileURL();
    const bool exists = path && QFileInfo::exists(*path);
    if (exists) {
        try {
            Script::decodeLibrary(FileUtils::readWholeFile(*path));
        } catch (const AppError& error) {
            return QStringLiteral("cannot read the library “%1”: %2").arg(*path, describe(error));
        }
    }
    if (Preferences::shared().boolean(Preferences::Identifier::includeBuiltInScripts))
        manager.loadBuiltInScripts();
    if (exists)
        manager.loadScripts(false);
    return std::nullopt;
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
    // A terminal wants the output it asked for and the errors; progress lines only on request.
    const bool verbose = parser.isSet(verboseOption);
    AppLogger::setLevel(verbose ? LogLevel::all : LogLevel::warning);
    AppLogger::setStandardErrorLevel(verbose ? LogLevel::all : LogLevel::error);

    ScriptsManager& manager = ScriptsManager::shared();
    if (const std::optional<QString> failure = loadLibrary(manager)) {
        m_err << "brambleworth: " << *failure << Qt::endl;
        return 1;
    }
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
        m_err << "brambleworth: cannot run “" << script->name() << "”: " << describe(error)
              << Qt::endl;
        return 1;
    }

    const RunningScriptPtr run = executor.runningScripts().last();
    QEventLoop loop;
    // The child's bytes go out as they came, each pipe to its own stream: nothing decoded,
    // nothing dropped, and no log growing with the output. Taken over before the event loop
    // runs, so the run's log never sees a chunk.
    const std::shared_ptr<ScriptProcess> process = run->process();
    QObject::disconnect(process.get(), &ScriptProcess::outputRead, run.get(), nullptr);
    m_out.flush();
    m_err.flush();
    QObject::connect(process.get(), &ScriptProcess::outputRead, &loop,
                     [](QByteArrayView chunk, ScriptProcess::Channel channel) {
                         writeAll(channel == ScriptProcess::Channel::standardOutput ? STDOUT_FILENO
                                                                                    : STDERR_FILENO,
                                  chunk);
                     });
    InterruptForwarding forwarding;
    if (forwarding.notifier()) {
        QObject::connect(forwarding.notifier(), &QSocketNotifier::activated, &loop, [&run] {
            InterruptForwarding::drain();
            if (const std::shared_ptr<ScriptProcess> running = run->process())
                running->interrupt();
        });
    }
    QObject::connect(run.get(), &RunningScript::terminated, &loop,
                     [&loop](const ScriptProcess::Termination& termination) {
                         loop.exit(termination.shellStatus());
                     });
    return loop.exec();
}
