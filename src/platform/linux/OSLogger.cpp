// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/OSLogger.h"

#include "Model/AppConfig.h"
#include "QuillonCommons/DefaultLogger.h"

#include <QFile>

#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include <cstring>

OSLogger::OSLogger() : m_identifier(AppConfig::bundleIdentifier().toUtf8()) {}

int OSLogger::priority(LogLevel severity)
{
    switch (severity) {
    case LogLevel::severe:
        return LOG_CRIT;
    case LogLevel::error:
        return LOG_ERR;
    case LogLevel::warning:
        return LOG_WARNING;
    case LogLevel::notice:
        return LOG_NOTICE;
    case LogLevel::info:
        return LOG_INFO;
    case LogLevel::debug:
    case LogLevel::all:
    case LogLevel::none:
        break;
    }
    return LOG_DEBUG;
}

void OSLogger::write(LogLevel severity, const QString& message)
{
    const QByteArray text = message.toUtf8();
    sd_journal_send("MESSAGE=%s", text.constData(), "PRIORITY=%i", priority(severity),
                    "SYSLOG_IDENTIFIER=%s", m_identifier.constData(), "CATEGORY=default", nullptr);
}

bool OSLogger::isJournalReachable(const QString& socketPath)
{
    const QByteArray path = QFile::encodeName(socketPath);
    sockaddr_un address{};
    if (size_t(path.size()) >= sizeof address.sun_path)
        return false;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.constData(), size_t(path.size()));
    const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return false;
    const bool reachable =
        ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    ::close(fd);
    return reachable;
}

std::unique_ptr<Logger> OSLogger::makeSystemLogger()
{
    if (isJournalReachable())
        return std::make_unique<OSLogger>();
    return std::make_unique<DefaultLogger>();
}
