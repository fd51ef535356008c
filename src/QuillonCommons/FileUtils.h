// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

// Scratch files: every call makes a fresh private directory (mode 0700), so no two runs or
// drags ever share a path. They go to $XDG_RUNTIME_DIR/brambleworth, which the system empties
// at logout, else to the temporary folder; a place on a noexec mount, where a script file
// cannot run, is passed by (and the reason logged) for the next one.
class FileUtils
{
public:
    static std::optional<QString> tempraryDirectory();
    // A path for a new, uniquely named file inside a fresh scratch directory; the file itself
    // is not created.
    static std::optional<QString> tempraryFile();

    static QString uniqueName();
    static QStringList regularFiles(const QString& directory);
    static QString temporaryDirectoryURL();
    // The process's own temporary folder, the same for the whole session: "drags" in the
    // runtime folder, else in the cache folder, private to the user. Never the shared /tmp,
    // where another user could have made a file of the same name first. Empty when neither
    // can be made.
    static QString privateTemporaryFolder();
    // The places scratch folders may go, in order of preference; the last is the fallback of
    // last resort, in the user's cache folder.
    static QStringList scratchPlaces();
    // Where the next scratch folder goes.
    static QString scratchParent();
    static bool isOnNoexecMount(const QString& path);

    // Writes the whole file or nothing: a side file that replaces the target once complete, so
    // a crash or kill at any moment leaves either the old file or the new one. Throws AppError.
    static void writeAtomically(const QString& path, const QByteArray& data);
    // The whole file; throws AppError naming the file when it cannot be opened or read. Only
    // a regular file of at most `maximumReadSize` bytes is read: a FIFO would block and a
    // device would never end.
    static QByteArray readWholeFile(const QString& path);
    static constexpr qint64 maximumReadSize = qint64(1) << 30;

    // Copies a file that a load could not read beside itself, as
    // "<name>.unreadable-YYYYMMDD-HHMMSS" (0600), before a save replaces it. Answers the
    // copy's path; throws AppError when the copy cannot be made.
    static QString setAsideUnreadable(const QString& path);
    // Removes what saves of `path` that were killed between link and rename left beside it:
    // "<name>.XXXXXX" as QSaveFile names its side file. Answers the paths removed.
    static QStringList removeInterruptedSaves(const QString& path);

private:
    static std::optional<QString> makeScratchDirectory(const QString& function, int line);
};
