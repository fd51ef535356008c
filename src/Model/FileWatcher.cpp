// SPDX-License-Identifier: GPL-3.0-or-later
#include "Model/FileWatcher.h"

#include "QuillonCommons/AppLogger.h"

#include <QStringList>
#include <QTimer>

#include <cstring>

FileWatcher::Errors::Errors(Case errorCase, const QString& path)
    : AppError(QStringLiteral("The file “%1” couldn’t be watched.").arg(path),
               QStringLiteral("It cannot be opened.")),
      m_case(errorCase)
{}

FileWatcher::FileWatcher(const QString& path, Handler handler, FileEventSource& source,
                         QObject* parent)
    : QObject(parent), m_path(path), m_handler(std::move(handler)), m_source(source)
{}

FileWatcher::~FileWatcher()
{
    stop();
    // A delete may have dropped the watch while its handler still runs on the worker thread:
    // wait for it, so that nothing calls into a destroyed watcher. Pending attempts die with
    // the object.
    m_source.removeWatch(-1);
}

void FileWatcher::start()
{
    if (m_fd.load() != -1)
        return;
    int error = 0;
    const int handle = m_source.addWatch(
        m_path, [this](FileEvents events) { receive(events); }, &error);
    if (handle < 0) {
        AppLogger::error(QStringLiteral("cannot open ") + m_path);
        throw Errors(Errors::cannotOpen, m_path);
    }
    m_fd.store(handle);
    trace(QStringLiteral("start watching changes on ") + m_path);
}

void FileWatcher::stop()
{
    const int handle = m_fd.exchange(-1);
    if (handle == -1)
        return;
    m_source.removeWatch(handle);
    trace(QStringLiteral("stop watching changes on ") + m_path);
}

void FileWatcher::receive(FileEvents events)
{
    trace(QStringLiteral("changes detected on ") + m_path + QStringLiteral(", event: ") +
          describe(events));
    if (events.testFlag(FileEvent::Delete) && m_options.testFlag(Option::reopenAfterDelete))
        restart();
    if (m_handler)
        m_handler(this, events);
}

void FileWatcher::restart()
{
    stop();
    // Called on the source's thread: the timer has to be made in the watcher's own.
    QMetaObject::invokeMethod(
        this, [this] { QTimer::singleShot(retryDelayMs, this, &FileWatcher::attempt); },
        Qt::QueuedConnection);
}

void FileWatcher::attempt()
{
    try {
        start();
    } catch (const Errors& error) {
        AppLogger::error(error, QStringLiteral("restart()"), __LINE__);
        --m_maxRetry;
        if (m_maxRetry > 0)
            restart();
        else
            AppLogger::error(QStringLiteral("maxretry reached, could not watch file at path ") +
                             m_path);
    }
}

QString FileWatcher::describe(std::optional<FileEvents> events)
{
    if (!events)
        return QStringLiteral("(?)");
    static constexpr std::pair<FileEvent, const char*> names[] = {
        {FileEvent::Delete, "delete"}, {FileEvent::Write, "write"},
        {FileEvent::Extend, "extend"}, {FileEvent::Attrib, "attrib"},
        {FileEvent::Link, "link"},     {FileEvent::Rename, "rename"},
        {FileEvent::Revoke, "revoke"}, {FileEvent::Funlock, "funlock"},
    };
    QStringList parts;
    for (const auto& [event, name] : names) {
        if (events->testFlag(event))
            parts.append(QLatin1String(name));
    }
    return QLatin1Char('[') + parts.join(QStringLiteral(", ")) + QLatin1Char(']');
}
