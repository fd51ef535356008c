// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Model/FileEventSource.h"
#include "QuillonCommons/AppError.h"

#include <QObject>
#include <QString>

#include <atomic>
#include <functional>
#include <optional>

// Reports changes of one file. After a delete (an editor saving by replacing the file) it opens
// the file at the same path again one second later, a limited number of times in its life.
//
// Events reach the handler on the source's worker thread; the re-open attempts run on the
// thread the watcher lives in. The handler's owner hops to the main thread before touching
// views, and must not block waiting for it.
class FileWatcher : public QObject
{
    Q_OBJECT
public:
    enum class Option
    {
        reopenAfterDelete = 1,
    };
    Q_DECLARE_FLAGS(Options, Option)

    class Errors : public AppError
    {
    public:
        enum class Case
        {
            cannotOpen
        };
        using enum Case;
        explicit Errors(Case errorCase, const QString& path);
        Case errorCase() const { return m_case; }

    private:
        Case m_case;
    };

    using Handler = std::function<void(FileWatcher* watcher, std::optional<FileEvents> events)>;

    FileWatcher(const QString& path, Handler handler, FileEventSource& source,
                QObject* parent = nullptr);
    ~FileWatcher() override;

    // Throws Errors::cannotOpen when the file cannot be watched.
    void start();
    void stop();

    const QString& path() const { return m_path; }
    Options options() const { return m_options; }
    void setOptions(Options options) { m_options = options; }
    // Re-open attempts left; used up by failures only, never restored.
    int maxRetry() const { return m_maxRetry; }
    // The source's handle, -1 while not watching.
    int fd() const { return m_fd.load(); }
    bool isWatching() const { return m_fd.load() != -1; }

    // "[write, attrib]"; "(?)" without an event set.
    static QString describe(std::optional<FileEvents> events);

    static constexpr int retryDelayMs = 1000;

private:
    void restart();
    void attempt();
    void receive(FileEvents events);
    // Progress texts a developer can break on; they are deliberately kept out of the log.
    void trace(const QString& text) const { Q_UNUSED(text) }

    QString m_path;
    Handler m_handler;
    FileEventSource& m_source;
    std::atomic<int> m_fd{-1};
    Options m_options = Option::reopenAfterDelete;
    int m_maxRetry = 2;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(FileWatcher::Options)
