// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>

// The embedded theme texts, generated at build time from resources/Themes (EmbedThemes.cmake).
namespace BuiltInThemesData {

struct Entry
{
    const char* name;
    const char* json;
};

extern const Entry entries[];
extern const std::size_t count;

} // namespace BuiltInThemesData
