// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Limits of the program's own process.
class ProcessLimits
{
public:
    // Raises the soft limit of open descriptors to the hard one: every run holds two pipes
    // for as long as anything it started keeps them open, and a program that lives for a
    // whole session would otherwise run out after a few hundred runs. Failures are logged.
    static void raiseOpenFileLimit();

    // While one exists, processes started by this one get the soft limit the program started
    // with, not the raised one: programs that select() or close every descriptor up to the
    // limit expect the usual 1024. Other threads opening descriptors meanwhile see it too,
    // for the moment a start takes.
    class ForChildren
    {
    public:
        ForChildren();
        ~ForChildren();
        ForChildren(const ForChildren&) = delete;
        ForChildren& operator=(const ForChildren&) = delete;

    private:
        bool m_lowered = false;
    };
};
