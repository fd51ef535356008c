// SPDX-License-Identifier: GPL-3.0-or-later
#include "QuillonCommons/DefaultLogger.h"

#include "BuildConfig.h"

#include <QDateTime>
#include <QMutexLocker>

#include <cstdio>

const char* DefaultLogger::severityName(LogLevel severity)
{
    switch (severity) {
    case LogLevel::severe:
        return "severe";
    case LogLevel::error:
        return "error";
    case LogLevel::warning:
        return "warning";
    case LogLevel::notice:
        return "notice";
    case LogLevel::info:
        return "info";
    case LogLevel::debug:
    case LogLevel::all:
        return "debug";
    case LogLevel::none:
        break;
    }
    return "none";
}

void DefaultLogger::write(LogLevel severity, const QString& message)
{
    const QByteArray line = QDateTime::currentDateTime().toString(Qt::ISODateWithMs).toUtf8() +
                            " " BRAMBLEWORTH_APP_ID "[" + severityName(severity) + "] " +
                            message.toUtf8() + '\n';
    // One fwrite per line, under a lock, so lines from several threads never interleave.
    QMutexLocker lock(&m_mutex);
    std::fwrite(line.constData(), 1, size_t(line.size()), stderr);
    std::fflush(stderr);
}
