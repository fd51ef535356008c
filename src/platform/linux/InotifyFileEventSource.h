// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Model/FileEventSource.h"

#include <QByteArray>
#include <QHash>

#include <cstdint>
#include <mutex>
#include <thread>

// File events from one inotify instance read by one worker thread named "FileWatcher", shared by
// every watcher of the process: a user may only have a few inotify instances (128 by default),
// and a thread per file would cost far more than the watch itself.
//
// Read-only events (open, access, close without writing) are not reported: a handler that reads
// the file would otherwise wake itself up. The watched file counts as deleted when inotify says
// so and also as soon as it no longer stands at its path after a rename or a link count change:
// that is what editors saving by rename (vim's backup rename, gedit, sed -i) produce.
class InotifyFileEventSource final : public FileEventSource
{
public:
    InotifyFileEventSource();
    ~InotifyFileEventSource() override;
    InotifyFileEventSource(const InotifyFileEventSource&) = delete;
    InotifyFileEventSource& operator=(const InotifyFileEventSource&) = delete;

    // Created on first use; lives until the process ends.
    static InotifyFileEventSource& shared();

    int addWatch(const QString& path, Callback callback, int* error) override;
    void removeWatch(int handle) override;

    int watchCount() const;

    // The events an inotify mask stands for; `stillAtPath` tells whether the watched file is
    // still the one at its path.
    static FileEvents translate(std::uint32_t mask, bool stillAtPath);

private:
    struct Watch
    {
        int descriptor = -1;
        QByteArray path;
        std::uint64_t device = 0;
        std::uint64_t inode = 0;
        Callback callback;
    };

    void run();
    void dispatch(int descriptor, std::uint32_t mask);
    bool stillAtPath(const Watch& watch) const;

    // Held while callbacks run, so that removing a watch waits for its callback; recursive
    // because callbacks remove watches themselves.
    mutable std::recursive_mutex m_mutex;
    int m_inotify = -1;
    int m_initError = 0;
    int m_wakeUp = -1;
    std::thread m_worker;
    int m_nextHandle = 0;
    QHash<int, Watch> m_watches;
    QMultiHash<int, int> m_handlesByDescriptor;
};
