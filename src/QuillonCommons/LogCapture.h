// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "QuillonCommons/LogLevel.h"

#include <QList>
#include <QMutex>
#include <QString>
#include <QStringList>

// Records every line that passes the level check while it exists, for tests that must see
// what was logged. One capture at a time; the program itself never creates one.
class LogCapture
{
public:
    struct Entry
    {
        LogLevel severity;
        QString message;
    };

    // With passThrough false the lines no longer reach the system logger while captured.
    explicit LogCapture(bool passThrough = false);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    QList<Entry> entries() const;
    QStringList messages(LogLevel severity) const;
    bool contains(LogLevel severity, const QString& message) const;
    int count(LogLevel severity, const QString& message) const;
    void clear();

    bool passThrough() const { return m_passThrough; }

    // Called by the logging front for each emitted line; answers whether it was taken.
    static bool record(LogLevel severity, const QString& message);

private:
    bool m_passThrough;
    mutable QMutex m_mutex;
    QList<Entry> m_entries;
};
