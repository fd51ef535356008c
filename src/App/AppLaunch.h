// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

// The start of the tray application (no option on the command line) and of
// `--trigger NAME-OR-ID`, which asks the running application to start a script.
class AppLaunch
{
public:
    // Whether these arguments (the program name first, "-KEY VALUE" pairs still in) are ours.
    static bool handles(const QStringList& arguments);
    static bool handles(int argc, char** argv);
    static int run(int argc, char** argv);

private:
    static int trigger(const QString& nameOrId);
};
