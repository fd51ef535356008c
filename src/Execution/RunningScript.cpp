// SPDX-License-Identifier: GPL-3.0-or-later
#include "Execution/RunningScript.h"

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

void RunningScript::appendOutput(QByteArrayView chunk)
{
    // Decoded straight into the end of the log, which grows geometrically: no temporary text and
    // no copy of the log per chunk. A chunk that is not UTF-8 on its own (a character split
    // between two reads included) is lost whole rather than shown as replacement characters;
    // the decoding is the strict, stateless one of Utf8::decode.
    const qsizetype oldSize = m_logs.size();
    const qsizetype largest = oldSize + chunk.size(); // never more UTF-16 units than UTF-8 bytes
    if (largest > m_logs.capacity())
        m_logs.reserve(std::max(largest, 2 * m_logs.capacity()));
    m_logs.resize(largest);
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QChar* end = decoder.appendToBuffer(m_logs.data() + oldSize, chunk);
    const qsizetype newSize = end - m_logs.constData();
    if (decoder.hasError() || newSize == oldSize) {
        m_logs.resize(oldSize);
        return;
    }
    m_logs.resize(newSize);
    emit logsAppended(QStringView(m_logs).sliced(oldSize));
    emit logsChanged(m_logs);
}
