// SPDX-License-Identifier: GPL-3.0-or-later
#include "QuillonCommons/LogCapture.h"

#include <QMutexLocker>

#include <atomic>

namespace {
std::atomic<LogCapture*> g_capture{nullptr};
}

LogCapture::LogCapture(bool passThrough) : m_passThrough(passThrough)
{
    LogCapture* expected = nullptr;
    // Two captures at once would be a test bug; the second simply records nothing.
    g_capture.compare_exchange_strong(expected, this);
}

LogCapture::~LogCapture()
{
    LogCapture* expected = this;
    g_capture.compare_exchange_strong(expected, nullptr);
}

bool LogCapture::record(LogLevel severity, const QString& message)
{
    LogCapture* capture = g_capture.load();
    if (!capture)
        return false;
    QMutexLocker lock(&capture->m_mutex);
    capture->m_entries.append({severity, message});
    return !capture->m_passThrough;
}

QList<LogCapture::Entry> LogCapture::entries() const
{
    QMutexLocker lock(&m_mutex);
    return m_entries;
}

QStringList LogCapture::messages(LogLevel severity) const
{
    QMutexLocker lock(&m_mutex);
    QStringList result;
    for (const Entry& e : m_entries) {
        if (e.severity == severity)
            result.append(e.message);
    }
    return result;
}

bool LogCapture::contains(LogLevel severity, const QString& message) const
{
    return count(severity, message) > 0;
}

int LogCapture::count(LogLevel severity, const QString& message) const
{
    QMutexLocker lock(&m_mutex);
    int n = 0;
    for (const Entry& e : m_entries) {
        if (e.severity == severity && e.message == message)
            ++n;
    }
    return n;
}

void LogCapture::clear()
{
    QMutexLocker lock(&m_mutex);
    m_entries.clear();
}
