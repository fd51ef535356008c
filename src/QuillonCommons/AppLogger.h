// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "QuillonCommons/LogLevel.h"

#include <QString>

#include <exception>
#include <functional>
#include <memory>

class Logger;

// The process-wide logging front. Everything else in the program logs through these
// functions; messages are built by the caller and dropped when the global level is lower
// than their severity.
class AppLogger
{
public:
    static LogLevel level();
    static void setLevel(LogLevel level);
    static bool isEnabled(LogLevel severity);

    // Lines up to this level also go to standard error, whatever the system's logger is and
    // whatever the global level: a command run from a terminal shows its errors there even when
    // the journal takes the log. `none` (the default) mirrors nothing; a logger that writes to
    // standard error itself is not doubled.
    static LogLevel standardErrorLevel();
    static void setStandardErrorLevel(LogLevel level);

    static void debug(const QString& message);
    static void info(const QString& message);
    static void error(const QString& message);
    static void warning(const QString& message);
    static void notice(const QString& message);
    static void severe(const QString& message);

    // "function:line error : description, failure reason: reason-or-dash"
    static void error(const std::exception& failure, const QString& function, int line);
    static QString failureLine(const std::exception& failure, const QString& function, int line);

    // The system's logger is chosen once, on first use, by this factory. Start-up installs the
    // platform's choice before anything logs; without one, lines go to standard error. Returns
    // false (and changes nothing) once the logger exists.
    using LoggerFactory = std::function<std::unique_ptr<Logger>()>;
    static bool setLoggerFactory(LoggerFactory factory);

    static Logger& logger();

private:
    static void write(LogLevel severity, const QString& message);
};
