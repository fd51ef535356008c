// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/BrambleworthMain.h"

int main(int argc, char** argv)
{
    return BrambleworthMain::run(argc, argv);
}
