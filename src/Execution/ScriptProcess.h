// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArrayView>
#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <sys/types.h>
#include <vector>

class QSocketNotifier;

// One child process of a script run. Started with posix_spawn in a session of its own, its
// exit watched through a pidfd and its standard output and standard error read from two pipes,
// all on the owning thread's event loop, so there are no helper threads and no SIGCHLD handler
// to share with Qt.
//
// Unlike QProcess, destroying the last handle never kills the child: scripts outlive the
// application. While the child runs or its pipes are open the object keeps itself alive, reads
// the pipes to their end (discarding output nobody listens to, so the child never blocks on a
// full pipe) and reaps the child, so no run ever leaves a zombie behind.
class ScriptProcess : public QObject, public std::enable_shared_from_this<ScriptProcess>
{
    Q_OBJECT
public:
    enum class Channel
    {
        standardOutput,
        standardError
    };

    struct Termination
    {
        // The exit code, or the number of the signal that ended the process.
        int status = 0;
        bool signaled = false;
        // The status a shell would report: 128 + signal for a process ended by a signal.
        int shellStatus() const { return signaled ? 128 + status : status; }
    };

    static std::shared_ptr<ScriptProcess> create();
    // How many process objects exist: a run keeps its own alive until its child has ended and
    // both pipes are read to the end, so tests wait for this to reach zero before they end.
    static int liveCount();
    ~ScriptProcess() override;
    ScriptProcess(const ScriptProcess&) = delete;
    ScriptProcess& operator=(const ScriptProcess&) = delete;

    // `arguments` are what the program sees after its own name; argv[0] is `program`.
    void setProgram(const QString& program) { m_program = program; }
    const QString& program() const { return m_program; }
    void setArguments(const QStringList& arguments) { m_arguments = arguments; }
    const QStringList& arguments() const { return m_arguments; }

    // Throws AppError (with the system's errno) when the program cannot be started, including
    // an exec failure such as a file without a "#!" line. The child inherits the environment,
    // the working directory and standard input.
    void launch();

    bool hasLaunched() const { return m_pid > 0; }
    // Launched and not yet reaped.
    bool isRunning() const { return m_pid > 0 && !m_termination; }
    pid_t processIdentifier() const { return m_pid; }
    const std::optional<Termination>& termination() const { return m_termination; }

    // SIGINT to the child's process group, as a terminal's interrupt key would; nothing once
    // the child has been reaped.
    void interrupt();

signals:
    // A chunk as read, straight from the read buffer: valid only during the call (copy it to
    // keep it). Chunks of one channel arrive in order.
    void outputRead(QByteArrayView chunk, ScriptProcess::Channel channel);
    // Emitted once, after the output the child wrote before it ended has been delivered.
    void finished(const ScriptProcess::Termination& termination);

private:
    struct Reader
    {
        int fd = -1;
        QSocketNotifier* notifier = nullptr;
        bool enlarged = false;
    };

    ScriptProcess();
    void onChildReadable();
    // Reads at most one chunk; false when nothing more can come from this pipe right now.
    bool readChunk(Channel channel);
    void drain(Channel channel);
    void closeReader(Reader& reader);
    void releaseWhenDone();
    Reader& reader(Channel channel) { return channel == Channel::standardOutput ? m_out : m_err; }

    QString m_program;
    QStringList m_arguments;
    pid_t m_pid = -1;
    int m_pidfd = -1;
    QSocketNotifier* m_childNotifier = nullptr;
    Reader m_out;
    Reader m_err;
    std::vector<char> m_buffer;
    std::optional<Termination> m_termination;
    // Holds the object while the child runs or a pipe is open, whoever else lets go.
    std::shared_ptr<ScriptProcess> m_self;
};
