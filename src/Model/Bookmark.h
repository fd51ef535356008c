// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <optional>

// The link from a script to a file: a versioned binary record of the file's path, device and
// inode. The path finds the file; the inode finds it again after a rename within its folder and
// tells when an editor has replaced the file at the path.
class Bookmark
{
public:
    struct Record
    {
        QString path;
        std::uint64_t device = 0;
        std::uint64_t inode = 0;
    };

    struct Resolution
    {
        QString path;
        // The record no longer names the file as it is: fresh data should replace it.
        bool stale = false;
    };

    // Bookmark data for an existing file (an absolute path is made of a relative one). Throws
    // AppError when the file cannot be examined.
    static QByteArray create(const QString& path);

    // Throws AppError when the data is not a bookmark or the file cannot be found.
    static Resolution resolve(const QByteArray& data);

    static QByteArray encode(const Record& record);
    // Nothing for data of any other shape.
    static std::optional<Record> decode(const QByteArray& data);
};
