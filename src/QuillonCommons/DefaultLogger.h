// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "QuillonCommons/Logger.h"

#include <QMutex>

// Plain lines on standard error, for machines without a journal (containers, CI, tests).
class DefaultLogger : public Logger
{
public:
    void write(LogLevel severity, const QString& message) override;
    bool writesToStandardError() const override { return true; }

    static const char* severityName(LogLevel severity);

private:
    QMutex m_mutex;
};
