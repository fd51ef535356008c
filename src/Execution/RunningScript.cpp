// SPDX-License-Identifier: GPL-3.0-or-later
#include "Execution/RunningScript.h"

#include "QuillonCommons/Utf8.h"

#include <QUuid>

RunningScript::RunningScript(const QString& name, const std::shared_ptr<ScriptProcess>& /*process*/)
    : m_id(QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper()), m_name(name),
      m_startDate(QDateTime::currentDateTime())
{}

// The connection to the process's output goes with this object; the process itself carries on
// reading its pipes to their end, so the child never blocks on a pipe nobody empties.
RunningScript::~RunningScript() = default;

void RunningScript::setProcess(const std::shared_ptr<ScriptProcess>& process)
{
    m_process = process;
    if (process) {
        connect(process.get(), &ScriptProcess::outputRead, this, &RunningScript::appendOutput,
                Qt::UniqueConnection);
    }
}

void RunningScript::setIsRunning(bool isRunning)
{
    if (m_isRunning == isRunning)
        return;
    m_isRunning = isRunning;
    emit isRunningChanged(isRunning);
}

void RunningScript::setTermination(const ScriptProcess::Termination& termination)
{
    m_termination = termination;
    emit terminated(termination);
}

void RunningScript::appendOutput(const QByteArray& chunk)
{
    // A chunk that is not UTF-8 on its own (a character split between two reads included) is
    // lost whole rather than shown as replacement characters.
    const std::optional<QString> text = Utf8::decode(chunk);
    if (!text || text->isEmpty())
        return;
    m_logs += *text;
    emit logsChanged(m_logs);
}
