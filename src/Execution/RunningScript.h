// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Execution/ScriptProcess.h"
#include "QuillonCommons/Utf8Stream.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QObject>
#include <QString>

#include <memory>
#include <optional>

class RunningScript;
using RunningScriptPtr = std::shared_ptr<RunningScript>;
using RunningScriptList = QList<RunningScriptPtr>;

// One run of one script: its identity, its child process while there is one, and the whole
// output of the run as one growing text. The text is kept as the UTF-8 it arrived in (half the
// size of UTF-16 for the usual output) and decoded for whoever asks.
class RunningScript : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isRunning READ isRunning NOTIFY isRunningChanged)
    Q_PROPERTY(QString logs READ logs NOTIFY logsChanged)

public:
    // The process argument is ignored: a run always starts without one and gets it assigned.
    explicit RunningScript(const QString& name, const std::shared_ptr<ScriptProcess>& process = {});
    ~RunningScript() override;

    const QString& id() const { return m_id; }
    const QString& name() const { return m_name; }
    const QDateTime& startDate() const { return m_startDate; }

    const std::shared_ptr<ScriptProcess>& process() const { return m_process; }
    // Assigning a process connects its output to `logs`. Clearing it leaves the output
    // connected: what the process's pipes still deliver keeps arriving while the run exists.
    void setProcess(const std::shared_ptr<ScriptProcess>& process);

    bool isRunning() const { return m_isRunning; }
    void setIsRunning(bool isRunning);

    bool keep() const { return m_keep; }
    void setKeep(bool keep) { m_keep = keep; }

    // The whole output so far, decoded on each call: a view that follows a long run keeps the
    // length it has shown and listens to logsAppended instead of asking again.
    QString logs() const { return QString::fromUtf8(m_logs); }
    // The same text as UTF-8, without a copy.
    const QByteArray& utf8Logs() const { return m_logs; }

    // How the process ended, once it has.
    const std::optional<ScriptProcess::Termination>& termination() const { return m_termination; }
    void setTermination(const ScriptProcess::Termination& termination);

signals:
    void isRunningChanged(bool isRunning);
    // After every appended chunk; `logs()` is then the whole text so far.
    void logsChanged();
    // Just before logsChanged: only the text this chunk added, for views that append. Valid
    // during the emission only.
    void logsAppended(QStringView text);
    void terminated(const ScriptProcess::Termination& termination);

private:
    void appendOutput(QByteArrayView chunk, ScriptProcess::Channel channel);

    QString m_id;
    QString m_name;
    QDateTime m_startDate;
    std::shared_ptr<ScriptProcess> m_process;
    bool m_isRunning = false;
    bool m_keep = false;
    QByteArray m_logs;
    // One per pipe: a character cut in two by a read of one pipe is completed by that pipe.
    Utf8Stream m_outputStream;
    Utf8Stream m_errorStream;
    QString m_appended;
    std::optional<ScriptProcess::Termination> m_termination;
};
