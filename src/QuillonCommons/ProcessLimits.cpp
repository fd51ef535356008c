// SPDX-License-Identifier: GPL-3.0-or-later
#include "QuillonCommons/ProcessLimits.h"

#include "QuillonCommons/AppError.h"
#include "QuillonCommons/AppLogger.h"

#include <cerrno>
#include <sys/resource.h>

void ProcessLimits::raiseOpenFileLimit()
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == limit.rlim_max)
        return;
    limit.rlim_cur = limit.rlim_max;
    if (::setrlimit(RLIMIT_NOFILE, &limit) != 0) {
        AppLogger::error(
            AppError::fromErrno(errno, QStringLiteral("cannot raise the open file limit")),
            QStringLiteral("raiseOpenFileLimit()"), __LINE__);
    }
}
