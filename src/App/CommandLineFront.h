// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Model/Script.h"

#include <QStringList>
#include <QTextStream>

#include <optional>

class ScriptsManager;

// brambleworth --list | --run NAME_OR_ID | --help | --version: the library from a terminal.
class CommandLineFront
{
public:
    CommandLineFront();
    CommandLineFront(QTextStream& out, QTextStream& err);

    // `arguments` starts with the program name and no longer holds "-KEY VALUE" pairs.
    int run(const QStringList& arguments);

    // Loads the library as the application does at start; answers why not when the library
    // file exists but cannot be read or decoded, and then loads nothing.
    static std::optional<QString> loadLibrary(ScriptsManager& manager);
    // One line a script: id, name, category, separated by tabs.
    static QString listing(const ScriptsManager& manager);
    static QString listing(const ScriptList& scripts);
    // The script with this id, else every script with exactly this name.
    static ScriptList find(const ScriptsManager& manager, const QString& nameOrId);

private:
    // Runs the script through the executor, passing its output through as it arrives (the
    // child's standard output to ours, its standard error to ours, byte for byte); answers
    // the script's exit status, or 1 when it cannot be found or started.
    int runScript(ScriptsManager& manager, const QString& nameOrId);

    QTextStream m_stdout;
    QTextStream m_stderr;
    QTextStream& m_out;
    QTextStream& m_err;
};
