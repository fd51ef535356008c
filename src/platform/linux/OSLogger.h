// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "QuillonCommons/Logger.h"

#include <QByteArray>

#include <memory>

// Structured entries in the systemd journal, identified by the application id:
// `journalctl --user -t org.brambleworth.Brambleworth` shows them.
class OSLogger : public Logger
{
public:
    OSLogger();
    void write(LogLevel severity, const QString& message) override;

    static int priority(LogLevel severity);

    // The journal is used when its socket accepts connections.
    static bool
    isJournalReachable(const QString& socketPath = QStringLiteral("/run/systemd/journal/socket"));

    // The logger for this machine: the journal when reachable, else standard error.
    static std::unique_ptr<Logger> makeSystemLogger();

private:
    QByteArray m_identifier;
};
