// SPDX-License-Identifier: GPL-3.0-or-later
#include "Execution/ScriptExecutorManager.h"

#include "Execution/ExecutorManagerError.h"
#include "QuillonCommons/AppError.h"
#include "QuillonCommons/AppLogger.h"
#include "QuillonCommons/FileUtils.h"
#include "QuillonCommons/Utf8.h"

#include <QFile>
#include <QUrl>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// All or nothing, as a side file renamed over the target, so a half-written script never runs.
// Not synced to disk: the file lives in a fresh private scratch directory and is of no use after
// a crash, and a sync costs milliseconds of start latency on a busy disk.
void writeScriptFile(const QString& path, const QByteArray& data)
{
    const QString side = path + QStringLiteral(".saving");
    const QByteArray nativeSide = QFile::encodeName(side);
    const auto failure = [&path](int error) {
        return AppError::fromErrno(error,
                                   QStringLiteral("The file “%1” couldn’t be saved.").arg(path));
    };
    const int fd = ::open(nativeSide.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0)
        throw failure(errno);
    qsizetype written = 0;
    while (written < data.size()) {
        const ssize_t n = ::write(fd, data.constData() + written, size_t(data.size() - written));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            const int error = errno;
            ::close(fd);
            ::unlink(nativeSide.constData());
            throw failure(error);
        }
        written += n;
    }
    if (::close(fd) != 0 ||
        ::rename(nativeSide.constData(), QFile::encodeName(path).constData()) != 0) {
        const int error = errno;
        ::unlink(nativeSide.constData());
        throw failure(error);
    }
}

mode_t readPermissions(const QString& path)
{
    struct stat info;
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        throw AppError::fromErrno(
            errno, QStringLiteral("The attributes of “%1” couldn’t be read.").arg(path));
    return info.st_mode & 07777;
}

void setPermissions(const QString& path, mode_t permissions)
{
    if (::chmod(QFile::encodeName(path).constData(), permissions) != 0)
        throw AppError::fromErrno(
            errno, QStringLiteral("The permissions of “%1” couldn’t be changed.").arg(path));
}

} // namespace

ScriptExecutorManager::ScriptExecutorManager(QObject* parent) : QObject(parent) {}

// Running scripts are deliberately left alone: they outlive the executor and the application.
ScriptExecutorManager::~ScriptExecutorManager() = default;

void ScriptExecutorManager::startExecution(const ScriptPtr& script)
{
    const QString content = script->content();
    if (content.isEmpty())
        throw ExecutorManagerError(ExecutorManagerError::scriptIsEmpty);

    const std::optional<QString> location = FileUtils::tempraryFile();
    if (!location)
        throw ExecutorManagerError(ExecutorManagerError::internalError);
    const QString scriptFile = *location + QStringLiteral(".sh");
    const QString fileURL = QUrl::fromLocalFile(scriptFile).toString();

    AppLogger::debug(QStringLiteral("Save script to ") + fileURL);
    const std::optional<QByteArray> data = Utf8::encode(content);
    if (!data) {
        throw AppError(QStringLiteral("The file “%1” couldn’t be saved.").arg(scriptFile),
                       QStringLiteral("The text is not valid Unicode."));
    }
    writeScriptFile(scriptFile, *data);
    const mode_t permissions = readPermissions(scriptFile);
    setPermissions(scriptFile, permissions | S_IXUSR);

    auto runningScript = std::make_shared<RunningScript>(script->name());
    runningScript->setKeep(script->keepLog());

    AppLogger::debug(QStringLiteral("try to execute ") + fileURL);
    // The file runs through its own "#!" line; the three arguments are its $1, $2 and $3.
    std::shared_ptr<ScriptProcess> process = ScriptProcess::create();
    process->setProgram(scriptFile);
    process->setArguments({QStringLiteral("/bin/sh"), QStringLiteral("-c"), scriptFile});

    QPointer<ScriptExecutorManager> executor(this);
    std::weak_ptr<RunningScript> run = runningScript;
    connect(process.get(), &ScriptProcess::finished, process.get(),
            [executor, script, run, scriptFile](const ScriptProcess::Termination& termination) {
                processEnded(executor, script, run, scriptFile, termination);
            });

    runningScript->setProcess(process);
    runningScript->setIsRunning(runningScript->process() != nullptr);

    process->launch();
    m_runningScripts.append(runningScript);
    const RunningScriptList snapshot = m_runningScripts;
    emit runningScriptsChanged(snapshot);
}

void ScriptExecutorManager::processEnded(const QPointer<ScriptExecutorManager>& executor,
                                         const ScriptPtr& script,
                                         const std::weak_ptr<RunningScript>& run,
                                         const QString& scriptFile,
                                         const ScriptProcess::Termination& termination)
{
    AppLogger::debug(QStringLiteral("script ") + script->name() +
                     QStringLiteral(" ended with code ") + QString::number(termination.status) +
                     QStringLiteral(")"));

    const RunningScriptPtr runningScript = run.lock();
    if (runningScript) {
        if (runningScript->process())
            runningScript->process()->interrupt();
        runningScript->setProcess(nullptr);
        runningScript->setIsRunning(runningScript->process() != nullptr);
        if (!runningScript->keep() && executor) {
            QMetaObject::invokeMethod(
                executor, [executor, runningScript] { executor->stop(runningScript); },
                Qt::QueuedConnection);
        }
    }

    // Toggled, not cleared: the bit was added at start.
    try {
        const mode_t permissions = readPermissions(scriptFile);
        setPermissions(scriptFile, permissions ^ S_IXUSR);
    } catch (const AppError& error) {
        AppLogger::error(error, QStringLiteral("startExecution(of:)"), __LINE__);
    }

    if (runningScript)
        runningScript->setTermination(termination);
}

void ScriptExecutorManager::stop(const RunningScriptPtr& runningScript)
{
    if (runningScript->process())
        runningScript->process()->interrupt();
    runningScript->setProcess(nullptr);
    runningScript->setIsRunning(false);

    const QString id = runningScript->id();
    m_runningScripts.removeIf(
        [&id](const RunningScriptPtr& element) { return element->id() == id; });
    const RunningScriptList snapshot = m_runningScripts;
    emit runningScriptsChanged(snapshot);
}
