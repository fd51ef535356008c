// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "QuillonCommons/LogLevel.h"

#include <QString>

// A destination for log lines. Implementations must be callable from any thread.
class Logger
{
public:
    virtual ~Logger() = default;

    // Writes one message of the given severity; the level check has already been made.
    virtual void write(LogLevel severity, const QString& message) = 0;
    virtual bool writesToStandardError() const { return false; }

    void severe(const QString& message) { write(LogLevel::severe, message); }
    void error(const QString& message) { write(LogLevel::error, message); }
    void warning(const QString& message) { write(LogLevel::warning, message); }
    void notice(const QString& message) { write(LogLevel::notice, message); }
    void info(const QString& message) { write(LogLevel::info, message); }
    void debug(const QString& message) { write(LogLevel::debug, message); }
};
