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

    // The store that may name a custom folder; wired once at start-up. Without one, the XDG
    // data folder is used. Also forgets the cached folder.
    static void setPreferences(const Preferences* preferences);

    // The computation itself, for a given store (or none); does not cache.
    static std::optional<QString>
    computeApplicationSupportDirectory(const Preferences* preferences);

    // Forgets the cached folder so a test can point the next call elsewhere.
    static void resetForTesting();
};
