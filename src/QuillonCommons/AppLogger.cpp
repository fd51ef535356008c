// SPDX-License-Identifier: GPL-3.0-or-later
#include "QuillonCommons/AppLogger.h"

#include "QuillonCommons/AppError.h"
#include "QuillonCommons/DefaultLogger.h"
#include "QuillonCommons/LogCapture.h"

#include <QMutex>
#include <QMutexLocker>

#include <atomic>
#include <mutex>

namespace {

std::atomic<int> g_level{int(LogLevel::all)};
std::atomic<int> g_standardErrorLevel{int(LogLevel::none)};

bool passes(const std::atomic<int>& level, LogLevel severity)
{
    return severity != LogLevel::none && level.load(std::memory_order_relaxed) >= int(severity);
}

struct LoggerState
{
    QMutex mutex;
    AppLogger::LoggerFactory factory;
    std::once_flag once;
    std::unique_ptr<Logger> logger;
    std::atomic<bool> created{false};
};

LoggerState& state()
{
    static LoggerState s;
    return s;
}

} // namespace

LogLevel AppLogger::level()
{
    return LogLevel(g_level.load(std::memory_order_relaxed));
}

void AppLogger::setLevel(LogLevel level)
{
    g_level.store(int(level), std::memory_order_relaxed);
}

bool AppLogger::isEnabled(LogLevel severity)
{
    return passes(g_level, severity) || passes(g_standardErrorLevel, severity);
}

LogLevel AppLogger::standardErrorLevel()
{
    return LogLevel(g_standardErrorLevel.load(std::memory_order_relaxed));
}

void AppLogger::setStandardErrorLevel(LogLevel level)
{
    g_standardErrorLevel.store(int(level), std::memory_order_relaxed);
}

bool AppLogger::setLoggerFactory(LoggerFactory factory)
{
    LoggerState& s = state();
    QMutexLocker lock(&s.mutex);
    if (s.created.load())
        return false;
    s.factory = std::move(factory);
    return true;
}

Logger& AppLogger::logger()
{
    LoggerState& s = state();
    std::call_once(s.once, [&s] {
        QMutexLocker lock(&s.mutex);
        if (s.factory)
            s.logger = s.factory();
        if (!s.logger)
            s.logger = std::make_unique<DefaultLogger>();
        s.created.store(true);
    });
    return *s.logger;
}

void AppLogger::write(LogLevel severity, const QString& message)
{
    if (!isEnabled(severity))
        return;
    if (LogCapture::record(severity, message))
        return;
    Logger& system = logger();
    bool onStandardError = false;
    if (passes(g_level, severity)) {
        system.write(severity, message);
        onStandardError = system.writesToStandardError();
    }
    if (!onStandardError && passes(g_standardErrorLevel, severity)) {
        static DefaultLogger standardError;
        standardError.write(severity, message);
    }
}

void AppLogger::debug(const QString& message)
{
    write(LogLevel::debug, message);
}

void AppLogger::info(const QString& message)
{
    write(LogLevel::info, message);
}

void AppLogger::error(const QString& message)
{
    write(LogLevel::error, message);
}

void AppLogger::warning(const QString& message)
{
    write(LogLevel::warning, message);
}

void AppLogger::notice(const QString& message)
{
    write(LogLevel::notice, message);
}

void AppLogger::severe(const QString& message)
{
    write(LogLevel::severe, message);
}

QString AppLogger::failureLine(const std::exception& failure, const QString& function, int line)
{
    QString description;
    QString reason;
    if (const auto* appError = dynamic_cast<const AppError*>(&failure)) {
        description = appError->description();
        reason = appError->failureReason();
    } else {
        description = QString::fromUtf8(failure.what());
    }
    if (reason.isEmpty())
        reason = QStringLiteral("-");
    return function + QLatin1Char(':') + QString::number(line) + QStringLiteral(" error : ") +
           description + QStringLiteral(", failure reason: ") + reason;
}

void AppLogger::error(const std::exception& failure, const QString& function, int line)
{
    if (!isEnabled(LogLevel::error))
        return;
    write(LogLevel::error, failureLine(failure, function, line));
}
