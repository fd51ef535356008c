// SPDX-License-Identifier: GPL-3.0-or-later
#include "Execution/RunningScript.h"

#include <QMetaMethod>
#include <QStringDecoder>
#include <QUuid>

#include <algorithm>

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

void RunningScript::appendOutput(QByteArrayView chunk, ScriptProcess::Channel channel)
{
    Utf8Stream& stream =
        channel == ScriptProcess::Channel::standardOutput ? m_outputStream : m_errorStream;
    const qsizetype oldSize = m_logs.size();
    if (m_logs.capacity() - oldSize < chunk.size())
        m_logs.reserve(std::max(oldSize + chunk.size() + 3, 2 * m_logs.capacity()));
    if (!stream.append(chunk, m_logs) || m_logs.size() == oldSize)
        return;
    if (isSignalConnected(QMetaMethod::fromSignal(&RunningScript::logsAppended))) {
        // Decoded into a buffer kept from chunk to chunk while they are small; the bytes are known
        // to be valid, so the text is exact.
        const QByteArrayView added = QByteArrayView(m_logs).sliced(oldSize);
        m_appended.resize(added.size());
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        m_appended.resize(decoder.appendToBuffer(m_appended.data(), added) -
                          m_appended.constData());
        emit logsAppended(m_appended);
        // A burst of output must not leave every kept run holding megabytes it no longer needs.
        if (m_appended.capacity() > 256 * 1024)
            m_appended = QString();
    }
    emit logsChanged();
}
