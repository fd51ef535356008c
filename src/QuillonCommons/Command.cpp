// SPDX-License-Identifier: GPL-3.0-or-later
#include "QuillonCommons/Command.h"

#include "QuillonCommons/AppError.h"
#include "QuillonCommons/AppLogger.h"
#include "QuillonCommons/Utf8.h"

#include <QProcessEnvironment>

#include <cerrno>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

QByteArray readToEnd(int fd)
{
    QByteArray data;
    char buffer[65536];
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n > 0) {
            data.append(buffer, n);
        } else if (n == 0 || errno != EINTR) {
            break;
        }
    }
    return data;
}

struct Pipe
{
    int fds[2] = {-1, -1};
    ~Pipe()
    {
        for (int fd : fds) {
            if (fd >= 0)
                ::close(fd);
        }
    }
    void closeEnd(int i)
    {
        if (fds[i] >= 0)
            ::close(fds[i]);
        fds[i] = -1;
    }
};

} // namespace

Command::Command()
{
    const QProcessEnvironment system = QProcessEnvironment::systemEnvironment();
    for (const QString& key : system.keys())
        m_env.insert(key, system.value(key));
}

Command::Command(QMap<QString, QString> env) : m_env(std::move(env)) {}

QString Command::run(const QString& commandLine) const
{
    Pipe out;
    Pipe err;
    if (::pipe2(out.fds, O_CLOEXEC) != 0 || ::pipe2(err.fds, O_CLOEXEC) != 0)
        throw AppError::fromErrno(errno, QStringLiteral("cannot create pipes for a command"));

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, out.fds[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err.fds[1], STDERR_FILENO);

    const QByteArray command = commandLine.toUtf8();
    char sh[] = "/bin/sh";
    char dashC[] = "-c";
    std::vector<char*> argv{sh, dashC, const_cast<char*>(command.constData()), nullptr};

    std::vector<QByteArray> envStorage;
    envStorage.reserve(size_t(m_env.size()));
    for (auto it = m_env.cbegin(); it != m_env.cend(); ++it)
        envStorage.push_back((it.key() + QLatin1Char('=') + it.value()).toUtf8());
    std::vector<char*> envp;
    for (QByteArray& entry : envStorage)
        envp.push_back(entry.data());
    envp.push_back(nullptr);

    pid_t pid = -1;
    const int spawnError = posix_spawn(&pid, sh, &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    if (spawnError != 0)
        throw AppError::fromErrno(spawnError, QStringLiteral("cannot launch /bin/sh"));

    out.closeEnd(1);
    err.closeEnd(1);
    // Standard output to its end first, then standard error: a command that fills the
    // standard-error pipe before closing standard output stalls here, by design.
    const QByteArray output = readToEnd(out.fds[0]);
    const QByteArray errors = readToEnd(err.fds[0]);
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }

    if (!errors.isEmpty()) {
        if (const auto text = Utf8::decode(errors))
            AppLogger::error(*text);
    }
    return QString::fromUtf8(output);
}
