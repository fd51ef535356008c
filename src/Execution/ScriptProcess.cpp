// SPDX-License-Identifier: GPL-3.0-or-later
#include "Execution/ScriptProcess.h"

#include "QuillonCommons/AppError.h"
#include "QuillonCommons/AppLogger.h"
#include "QuillonCommons/ProcessLimits.h"

#include <QFile>
#include <QSocketNotifier>

#include <QTimer>
#include <atomic>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sched.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

// A pipe holds 64 KiB by default; a child that fills it in one go is a fast producer, and a
// larger pipe lets it run ahead with far fewer wake-ups of the event loop.
constexpr qsizetype defaultPipeSize = 64 * 1024;
constexpr int fastPipeSize = 1024 * 1024;
// After the child has ended, what is left in a pipe fits in one read; the bound only stops a
// grandchild that keeps writing from holding the end of the run back.
constexpr int drainChunks = 8;

std::vector<char>& readBuffer()
{
    static thread_local std::vector<char> buffer(fastPipeSize);
    return buffer;
}

void closeQuietly(int& fd)
{
    if (fd >= 0)
        ::close(fd);
    fd = -1;
}

int openPidfd(pid_t pid)
{
    // Through syscall(): glibc 2.36's <sys/pidfd.h> has no C++ linkage guards.
    return int(::syscall(SYS_pidfd_open, pid, 0));
}

class SpawnSetup
{
public:
    SpawnSetup()
    {
        posix_spawn_file_actions_init(&actions);
        posix_spawnattr_init(&attributes);
    }
    ~SpawnSetup()
    {
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }
    SpawnSetup(const SpawnSetup&) = delete;
    SpawnSetup& operator=(const SpawnSetup&) = delete;

    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
};

} // namespace

std::shared_ptr<ScriptProcess> ScriptProcess::create()
{
    // The last handle may go while a signal of this object is being delivered.
    return std::shared_ptr<ScriptProcess>(new ScriptProcess,
                                          [](ScriptProcess* process) { process->deleteLater(); });
}

namespace {
std::atomic<int> g_liveCount{0};
} // namespace

int ScriptProcess::liveCount()
{
    return g_liveCount.load();
}

ScriptProcess::ScriptProcess()
{
    ++g_liveCount;
}

ScriptProcess::~ScriptProcess()
{
    --g_liveCount;
    closeQuietly(m_out.fd);
    closeQuietly(m_err.fd);
    if (m_pidfd >= 0 && !m_termination) {
        siginfo_t info{};
        ::waitid(idtype_t(P_PIDFD), id_t(m_pidfd), &info, WEXITED | WNOHANG);
    }
    closeQuietly(m_pidfd);
}

void ScriptProcess::launch()
{
    if (m_pid > 0)
        throw AppError(QStringLiteral("“%1” has already been started.").arg(m_program));

    int out[2] = {-1, -1};
    int err[2] = {-1, -1};
    auto closeAll = [&] {
        for (int* fd : {&out[0], &out[1], &err[0], &err[1]})
            closeQuietly(*fd);
    };
    if (::pipe2(out, O_CLOEXEC) != 0 || ::pipe2(err, O_CLOEXEC) != 0) {
        const int error = errno;
        closeAll();
        throw AppError::fromErrno(
            error, QStringLiteral("Cannot create the output pipes of “%1”.").arg(m_program));
    }

    SpawnSetup setup;
    posix_spawn_file_actions_adddup2(&setup.actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&setup.actions, err[1], STDERR_FILENO);
    // A session of its own: the child is no part of the application's job control, and an
    // interrupt reaches the whole script (its pipelines and children) through its group.
    sigset_t noSignals;
    sigemptyset(&noSignals);
    sigset_t allSignals;
    sigfillset(&allSignals);
    posix_spawnattr_setsigmask(&setup.attributes, &noSignals);
    posix_spawnattr_setsigdefault(&setup.attributes, &allSignals);
    posix_spawnattr_setflags(&setup.attributes,
                             POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

    const QByteArray path = QFile::encodeName(m_program);
    std::vector<QByteArray> encoded;
    encoded.reserve(size_t(m_arguments.size()));
    for (const QString& argument : m_arguments)
        encoded.push_back(argument.toLocal8Bit());
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(path.constData()));
    for (const QByteArray& argument : encoded)
        argv.push_back(const_cast<char*>(argument.constData()));
    argv.push_back(nullptr);

    pid_t pid = -1;
    int spawnError = 0;
    {
        const ProcessLimits::ForChildren usualLimits;
        spawnError = ::posix_spawn(&pid, path.constData(), &setup.actions, &setup.attributes,
                                   argv.data(), environ);
    }
    // The new process nearly always starts on this processor: let it have it first, so that the
    // bookkeeping below does not hold back the script's first instructions (0.2 ms a start).
    ::sched_yield();
    closeQuietly(out[1]);
    closeQuietly(err[1]);
    if (spawnError != 0) {
        closeAll();
        throw AppError::fromErrno(
            spawnError, QStringLiteral("The script “%1” couldn’t be started.").arg(m_program));
    }

    m_pid = pid;
    m_out.fd = out[0];
    m_err.fd = err[0];
    m_self = shared_from_this();

    for (Channel channel : {Channel::standardOutput, Channel::standardError}) {
        Reader& r = reader(channel);
        ::fcntl(r.fd, F_SETFL, ::fcntl(r.fd, F_GETFL) | O_NONBLOCK);
        r.notifier = new QSocketNotifier(r.fd, QSocketNotifier::Read, this);
        connect(r.notifier, &QSocketNotifier::activated, this, [this, channel] {
            // Standard output first: what a script printed before writing to standard error
            // comes first in its log when both are waiting.
            if (channel == Channel::standardError)
                readChunk(Channel::standardOutput);
            readChunk(channel);
        });
    }

    m_pidfd = openPidfd(pid);
    if (m_pidfd >= 0) {
        m_childNotifier = new QSocketNotifier(m_pidfd, QSocketNotifier::Read, this);
        connect(m_childNotifier, &QSocketNotifier::activated, this,
                &ScriptProcess::onChildReadable);
    } else {
        // Kernels before 5.3 have no pidfd: look for the end of the child now and then.
        AppLogger::error(AppError::fromErrno(errno, QStringLiteral("pidfd_open")),
                         QStringLiteral("launch()"), __LINE__);
        auto* timer = new QTimer(this);
        connect(timer, &QTimer::timeout, this, &ScriptProcess::onChildReadable);
        timer->start(50);
    }
}

void ScriptProcess::interrupt()
{
    if (isRunning())
        ::kill(-m_pid, SIGINT);
}

void ScriptProcess::onChildReadable()
{
    if (m_termination)
        return;
    siginfo_t info{};
    int result;
    do {
        result = m_pidfd >= 0 ? ::waitid(idtype_t(P_PIDFD), id_t(m_pidfd), &info, WEXITED | WNOHANG)
                              : ::waitid(P_PID, id_t(m_pid), &info, WEXITED | WNOHANG);
    } while (result != 0 && errno == EINTR);

    Termination termination;
    if (result != 0) {
        // Someone else reaped the child: its status is lost.
        AppLogger::error(
            AppError::fromErrno(errno, QStringLiteral("waitid for process %1").arg(m_pid)),
            QStringLiteral("onChildReadable()"), __LINE__);
        termination.status = -1;
    } else if (info.si_pid == 0) {
        return;
    } else {
        termination.status = info.si_status;
        termination.signaled = info.si_code == CLD_KILLED || info.si_code == CLD_DUMPED;
    }
    m_termination = termination;

    if (m_childNotifier) {
        m_childNotifier->setEnabled(false);
        m_childNotifier->deleteLater();
        m_childNotifier = nullptr;
    }
    for (QTimer* timer : findChildren<QTimer*>(Qt::FindDirectChildrenOnly))
        timer->stop();
    closeQuietly(m_pidfd);

    drain(Channel::standardOutput);
    drain(Channel::standardError);
    emit finished(termination);
    releaseWhenDone();
}

bool ScriptProcess::readChunk(Channel channel)
{
    Reader& r = reader(channel);
    if (r.fd < 0)
        return false;
    std::vector<char>& buffer = readBuffer();
    ssize_t n;
    do {
        n = ::read(r.fd, buffer.data(), buffer.size());
    } while (n < 0 && errno == EINTR);

    if (n > 0) {
        if (!r.enlarged && n >= defaultPipeSize) {
            r.enlarged = true;
            ::fcntl(r.fd, F_SETPIPE_SZ, fastPipeSize);
        }
        emit outputRead(QByteArrayView(buffer.data(), n), channel);
        return true;
    }
    if (n < 0 && errno == EAGAIN)
        return false;
    closeReader(r);
    releaseWhenDone();
    return false;
}

void ScriptProcess::drain(Channel channel)
{
    for (int i = 0; i < drainChunks && readChunk(channel); ++i) {
    }
}

void ScriptProcess::closeReader(Reader& reader)
{
    if (reader.notifier) {
        // Possibly inside its own activation.
        reader.notifier->setEnabled(false);
        reader.notifier->deleteLater();
        reader.notifier = nullptr;
    }
    closeQuietly(reader.fd);
}

void ScriptProcess::releaseWhenDone()
{
    if (m_termination && m_out.fd < 0 && m_err.fd < 0)
        m_self.reset();
}
