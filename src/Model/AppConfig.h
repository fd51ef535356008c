// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <optional>

class Preferences;

// Where the application keeps its data files (the library, the hot key assignments).
class AppConfig
{
public:
    static QString bundleIdentifier();

    // Computed once per process: "CUSTOM_APPLICATION_SUPPORT_DIRECTORY" if set, else the XDG
    // data folder, then the application id; created (mode 0700) when missing.
    static std::optional<QString> applicationSupportDirectoryURL();

    // The computation itself, for a given store; does not cache.
    static std::optional<QString>
    computeApplicationSupportDirectory(const Preferences& preferences);

    // Forgets the cached folder so a test can point the next call elsewhere.
    static void resetForTesting();
};
