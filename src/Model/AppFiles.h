// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <optional>

// Locations inside the application's installed data (share/brambleworth), found relative to
// the executable first, so a build tree runs without being installed.
class AppFiles
{
public:
    static std::optional<QString> resourcesURL();
    static std::optional<QString> builtInScriptsURL();
    static QString libraryFileName() { return QStringLiteral("Brambleworth.json"); }

    // Points the resources elsewhere (an empty string means none); tests only.
    static void setResourcesURLForTesting(std::optional<QString> url);
};
