// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <optional>

// A data file that failed to load is otherwise overwritten by the next save with whatever is
// in memory; one typo in a hand edit would cost the whole file. The first save after such a
// failure copies the file aside (FileUtils::setAsideUnreadable) and says where it went.
class UnreadableFileKeeper
{
public:
    // After a failed load: remembers the file when it holds something to lose, a regular file
    // that is not empty. A missing file (a first start) is nothing to keep.
    void loadFailed(const QString& path);
    void loadSucceeded() { m_path.reset(); }
    bool hasPendingCopy() const { return m_path.has_value(); }

    // Before each save: copies a remembered file aside, once, logging at error level where it
    // went. False when the copy could not be made; the caller then must not save over it.
    bool prepareSave(const QString& function, int line);

private:
    std::optional<QString> m_path;
};
