// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Ordered: a message of a severity is emitted only while the global level is at least its value.
enum class LogLevel : int
{
    none = 0,
    severe = 1,
    error = 2,
    warning = 3,
    notice = 4,
    info = 5,
    debug = 6,
    all = 7,
};
