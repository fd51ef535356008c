// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFlags>
#include <QString>

#include <functional>

// What happened to a watched file, in the vocabulary of file-system object events (the values
// are those of a vnode event mask, so traces read the same on every platform).
enum class FileEvent : unsigned
{
    Delete = 0x1,
    Write = 0x2,
    Extend = 0x4,
    Attrib = 0x8,
    Link = 0x10,
    Rename = 0x20,
    Revoke = 0x40,
    Funlock = 0x100,
};
Q_DECLARE_FLAGS(FileEvents, FileEvent)
Q_DECLARE_OPERATORS_FOR_FLAGS(FileEvents)

// The system's notification of changes to files. One source serves every watcher of the
// process, on one worker thread of its own.
class FileEventSource
{
public:
    using Callback = std::function<void(FileEvents)>;

    virtual ~FileEventSource() = default;

    // Starts watching the file at `path`; the callback runs on the source's worker thread.
    // Answers a handle >= 0, or -1 with the errno value in `error`.
    virtual int addWatch(const QString& path, Callback callback, int* error) = 0;
    // Once this returns, the handle's callback is not running and never runs again. Callable
    // from inside a callback. An unknown handle (-1) changes nothing but still waits for a
    // callback running on another thread.
    virtual void removeWatch(int handle) = 0;
};
