// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>
#include <QTextStream>

class ScriptsManager;

// brambleworth --list | --help | --version: the library from a terminal.
class CommandLineFront
{
public:
    CommandLineFront();
    CommandLineFront(QTextStream& out, QTextStream& err);

    // `arguments` starts with the program name and no longer holds "-KEY VALUE" pairs.
    int run(const QStringList& arguments);

    // Loads the library as the application does at start.
    static void loadLibrary(ScriptsManager& manager);
    // One line a script: id, name, category, separated by tabs.
    static QString listing(const ScriptsManager& manager);

private:
    QTextStream m_stdout;
    QTextStream m_stderr;
    QTextStream& m_out;
    QTextStream& m_err;
};
