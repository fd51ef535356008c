// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/InotifyFileEventSource.h"

#include "QuillonCommons/AppError.h"
#include "QuillonCommons/AppLogger.h"

#include <QFile>

#include <array>
#include <cerrno>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::uint32_t watchMask = IN_ALL_EVENTS | IN_DELETE_SELF | IN_MOVE_SELF;

} // namespace

InotifyFileEventSource::InotifyFileEventSource()
{
    m_inotify = ::inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    if (m_inotify < 0) {
        m_initError = errno;
        AppLogger::error(AppError::fromErrno(m_initError, QStringLiteral("inotify_init1")),
                         QStringLiteral("InotifyFileEventSource()"), __LINE__);
        return;
    }
    m_wakeUp = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    m_worker = std::thread([this] { run(); });
    // Named from here, so that the name is there as soon as the source exists.
    pthread_setname_np(m_worker.native_handle(), "FileWatcher");
}

InotifyFileEventSource::~InotifyFileEventSource()
{
    if (m_worker.joinable()) {
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = ::write(m_wakeUp, &one, sizeof(one));
        m_worker.join();
    }
    if (m_wakeUp >= 0)
        ::close(m_wakeUp);
    if (m_inotify >= 0)
        ::close(m_inotify);
}

InotifyFileEventSource& InotifyFileEventSource::shared()
{
    static InotifyFileEventSource source;
    return source;
}

int InotifyFileEventSource::watchCount() const
{
    std::lock_guard lock(m_mutex);
    return int(m_watches.size());
}

int InotifyFileEventSource::addWatch(const QString& path, Callback callback, int* error)
{
    if (m_inotify < 0) {
        *error = m_initError;
        return -1;
    }
    Watch watch;
    watch.path = QFile::encodeName(path);
    watch.callback = std::move(callback);
    std::lock_guard lock(m_mutex);
    watch.descriptor = ::inotify_add_watch(m_inotify, watch.path.constData(), watchMask);
    if (watch.descriptor < 0) {
        *error = errno;
        return -1;
    }
    struct stat info
    {};
    if (::stat(watch.path.constData(), &info) == 0) {
        watch.device = info.st_dev;
        watch.inode = info.st_ino;
    }
    const int handle = m_nextHandle++;
    m_handlesByDescriptor.insert(watch.descriptor, handle);
    m_watches.insert(handle, std::move(watch));
    return handle;
}

void InotifyFileEventSource::removeWatch(int handle)
{
    std::lock_guard lock(m_mutex);
    const auto found = m_watches.constFind(handle);
    if (found == m_watches.cend())
        return;
    const int descriptor = found->descriptor;
    m_watches.erase(found);
    m_handlesByDescriptor.remove(descriptor, handle);
    // Watchers of the same file share the kernel's watch.
    if (!m_handlesByDescriptor.contains(descriptor))
        ::inotify_rm_watch(m_inotify, descriptor);
}

bool InotifyFileEventSource::stillAtPath(const Watch& watch) const
{
    struct stat info
    {};
    return ::stat(watch.path.constData(), &info) == 0 && info.st_dev == watch.device &&
           info.st_ino == watch.inode;
}

FileEvents InotifyFileEventSource::translate(std::uint32_t mask, bool stillAtPath)
{
    FileEvents events;
    if (mask & IN_MODIFY)
        events |= FileEvent::Write;
    if (mask & IN_ATTRIB)
        events |= FileEvent::Attrib;
    if (mask & IN_MOVE_SELF)
        events |= FileEvent::Rename;
    if (mask & IN_DELETE_SELF)
        events |= FileEvent::Delete;
    if (mask & IN_UNMOUNT)
        events |= FileEvent::Revoke;
    // A rename over the file, or a rename of the file itself: whatever stands at the path now
    // is another file, so the watcher has to open it again.
    if ((mask & (IN_ATTRIB | IN_MOVE_SELF)) && !stillAtPath)
        events |= FileEvent::Delete;
    return events;
}

void InotifyFileEventSource::dispatch(int descriptor, std::uint32_t mask)
{
    std::lock_guard lock(m_mutex);
    const QList<int> handles = m_handlesByDescriptor.values(descriptor);
    if (mask & IN_IGNORED) {
        // The kernel dropped the watch (file gone, or removed by us): its handles are dead.
        for (const int handle : handles)
            m_watches.remove(handle);
        m_handlesByDescriptor.remove(descriptor);
        return;
    }
    for (const int handle : handles) {
        // An earlier callback may have removed this one.
        const auto found = m_watches.constFind(handle);
        if (found == m_watches.cend())
            continue;
        const bool atPath = (mask & (IN_ATTRIB | IN_MOVE_SELF)) ? stillAtPath(*found) : true;
        const FileEvents events = translate(mask, atPath);
        if (!events)
            continue;
        const Callback callback = found->callback;
        try {
            callback(events);
        } catch (const std::exception& failure) {
            AppLogger::error(failure, QStringLiteral("FileWatcher"), __LINE__);
        }
    }
}

void InotifyFileEventSource::run()
{
    alignas(inotify_event) std::array<char, 64 * 1024> buffer;
    std::array<pollfd, 2> fds{{{m_inotify, POLLIN, 0}, {m_wakeUp, POLLIN, 0}}};
    for (;;) {
        if (::poll(fds.data(), fds.size(), -1) < 0) {
            if (errno == EINTR)
                continue;
            return;
        }
        if (fds[1].revents)
            return;
        const ssize_t length = ::read(m_inotify, buffer.data(), buffer.size());
        if (length <= 0)
            continue;
        for (ssize_t offset = 0; offset < length;) {
            const auto* event = reinterpret_cast<const inotify_event*>(buffer.data() + offset);
            if (event->wd >= 0)
                dispatch(event->wd, event->mask);
            offset += ssize_t(sizeof(inotify_event) + event->len);
        }
    }
}
