// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The whole program behind main(): logging, preferences from the command line, then the
// command-line front or the application.
class BrambleworthMain
{
public:
    static int run(int argc, char** argv);
};
