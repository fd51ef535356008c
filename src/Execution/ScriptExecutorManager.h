// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Execution/RunningScript.h"
#include "Model/Script.h"
#include "QuillonCommons/NotificationsObserver.h"

#include <QObject>
#include <QPointer>

// Turns scripts into child processes and keeps the list of runs: the running ones and the
// finished ones whose script keeps its log. Everything here happens on the main thread.
class ScriptExecutorManager : public QObject
{
    Q_OBJECT
public:
    explicit ScriptExecutorManager(QObject* parent = nullptr);
    ~ScriptExecutorManager() override;

    const RunningScriptList& runningScripts() const { return m_runningScripts; }
    NotificationsObserver& notificationsObserver() { return m_notificationsObserver; }

    // Writes the script's text to a fresh executable file and starts it. On return the new run
    // is the last element of `runningScripts` and its process is running. Throws
    // ExecutorManagerError, or the AppError of a failed write, permission change or launch.
    void startExecution(const ScriptPtr& script);
    // Interrupts the run's process, if any, and removes the run from the list at once.
    void stop(const RunningScriptPtr& runningScript);

signals:
    void runningScriptsChanged(const RunningScriptList& runningScripts);

private:
    // Runs whether or not the executor still exists: a run's end is logged and its file's
    // permissions restored even after the application has let go of it.
    static void processEnded(const QPointer<ScriptExecutorManager>& executor,
                             const ScriptPtr& script, const std::weak_ptr<RunningScript>& run,
                             const QString& scriptFile,
                             const ScriptProcess::Termination& termination);

    RunningScriptList m_runningScripts;
    NotificationsObserver m_notificationsObserver;
};
