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
};
