# SPDX-License-Identifier: GPL-3.0-or-later
target_sources(brambleworth_core PRIVATE
    Execution/ExecutorManagerError.cpp
    Execution/ExecutorManagerError.h
    Execution/RunningScript.cpp
    Execution/RunningScript.h
    Execution/ScriptExecutorManager.cpp
    Execution/ScriptExecutorManager.h
    Execution/ScriptProcess.cpp
    Execution/ScriptProcess.h
)
