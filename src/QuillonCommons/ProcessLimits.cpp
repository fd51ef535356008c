// SPDX-License-Identifier: GPL-3.0-or-later
#include "QuillonCommons/ProcessLimits.h"

#include "QuillonCommons/AppError.h"
#include "QuillonCommons/AppLogger.h"

#include <atomic>
#include <cerrno>
#include <sys/resource.h>

namespace {

// The soft limit before it was raised; RLIM_INFINITY while it has not been.
std::atomic<rlim_t> g_startingSoftLimit{RLIM_INFINITY};
std::atomic<rlim_t> g_raisedSoftLimit{RLIM_INFINITY};

} // namespace

void ProcessLimits::raiseOpenFileLimit()
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == limit.rlim_max)
        return;
    const rlim_t starting = limit.rlim_cur;
    limit.rlim_cur = limit.rlim_max;
    if (::setrlimit(RLIMIT_NOFILE, &limit) != 0) {
        AppLogger::error(
            AppError::fromErrno(errno, QStringLiteral("cannot raise the open file limit")),
            QStringLiteral("raiseOpenFileLimit()"), __LINE__);
        return;
    }
    g_startingSoftLimit = starting;
    g_raisedSoftLimit = limit.rlim_cur;
}

ProcessLimits::ForChildren::ForChildren()
{
    const rlim_t starting = g_startingSoftLimit;
    if (starting == RLIM_INFINITY)
        return;
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur != g_raisedSoftLimit)
        return;
    limit.rlim_cur = starting;
    m_lowered = ::setrlimit(RLIMIT_NOFILE, &limit) == 0;
}

ProcessLimits::ForChildren::~ForChildren()
{
    if (!m_lowered)
        return;
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = g_raisedSoftLimit;
    ::setrlimit(RLIMIT_NOFILE, &limit);
}
