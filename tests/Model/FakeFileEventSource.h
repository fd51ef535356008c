// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Model/FileEventSource.h"

#include <QFileInfo>
#include <QHash>

#include <cerrno>

// File events a test sends by hand: a file can be watched while it exists.
class FakeFileEventSource : public FileEventSource
{
public:
    int addWatch(const QString& path, Callback callback, int* error) override
    {
        if (!QFileInfo::exists(path)) {
            *error = ENOENT;
            return -1;
        }
        m_watches.insert(m_next, {path, std::move(callback)});
        return m_next++;
    }

    void removeWatch(int handle) override { m_watches.remove(handle); }

    int watchCount() const { return int(m_watches.size()); }

    void send(const QString& path, FileEvents events)
    {
        for (const int handle : m_watches.keys()) {
            const auto found = m_watches.constFind(handle);
            if (found != m_watches.cend() && found->path == path) {
                const Callback callback = found->callback;
                callback(events);
            }
        }
    }

private:
    struct Watch
    {
        QString path;
        Callback callback;
    };
    QHash<int, Watch> m_watches;
    int m_next = 0;
};
