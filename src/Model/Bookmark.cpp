// SPDX-License-Identifier: GPL-3.0-or-later
#include "Model/Bookmark.h"

#include "QuillonCommons/AppError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QtEndian>

#include <cerrno>
#include <dirent.h>
#include <memory>
#include <sys/stat.h>

namespace {

constexpr char magic[4] = {'B', 'W', 'B', 'K'};
constexpr char version = 1;
constexpr qsizetype headerSize = sizeof(magic) + 1 + 8 + 8;

struct FileIdentity
{
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
};

// stat(2), following symbolic links as opening the file does.
std::optional<FileIdentity> identity(const QByteArray& nativePath, int* error)
{
    struct stat info
    {};
    if (::stat(nativePath.constData(), &info) != 0) {
        *error = errno;
        return std::nullopt;
    }
    return FileIdentity{std::uint64_t(info.st_dev), std::uint64_t(info.st_ino)};
}

// The entry of `folder` that is the inode, after a rename within the folder.
std::optional<QByteArray> findByInode(const QByteArray& folder, const FileIdentity& wanted)
{
    std::unique_ptr<DIR, int (*)(DIR*)> directory(::opendir(folder.constData()), ::closedir);
    if (!directory)
        return std::nullopt;
    while (const dirent* entry = ::readdir(directory.get())) {
        if (std::uint64_t(entry->d_ino) != wanted.inode)
            continue;
        const QByteArray candidate =
            (folder.endsWith('/') ? folder : folder + '/') + QByteArray(entry->d_name);
        int error = 0;
        // d_ino alone can match a mount point or an entry of another file system.
        const auto found = identity(candidate, &error);
        if (found && found->device == wanted.device && found->inode == wanted.inode)
            return candidate;
    }
    return std::nullopt;
}

} // namespace

QByteArray Bookmark::encode(const Record& record)
{
    QByteArray data;
    const QByteArray path = QFile::encodeName(record.path);
    data.reserve(headerSize + path.size());
    data.append(magic, sizeof(magic));
    data.append(version);
    char number[8];
    qToBigEndian(record.device, number);
    data.append(number, sizeof(number));
    qToBigEndian(record.inode, number);
    data.append(number, sizeof(number));
    data.append(path);
    return data;
}

std::optional<Bookmark::Record> Bookmark::decode(const QByteArray& data)
{
    if (data.size() <= headerSize || !data.startsWith(QByteArrayView(magic, sizeof(magic))) ||
        data.at(sizeof(magic)) != version)
        return std::nullopt;
    const char* numbers = data.constData() + sizeof(magic) + 1;
    const QByteArray path = data.mid(headerSize);
    if (!path.startsWith('/') || path.contains('\0'))
        return std::nullopt;
    return Record{QFile::decodeName(path), qFromBigEndian<std::uint64_t>(numbers),
                  qFromBigEndian<std::uint64_t>(numbers + 8)};
}

QByteArray Bookmark::create(const QString& path)
{
    const QString absolute = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    int error = 0;
    const auto found = identity(QFile::encodeName(absolute), &error);
    if (!found)
        throw AppError::fromErrno(
            error, QStringLiteral("The bookmark for “%1” couldn’t be created.").arg(absolute));
    return encode(Record{absolute, found->device, found->inode});
}

Bookmark::Resolution Bookmark::resolve(const QByteArray& data)
{
    const auto record = decode(data);
    if (!record)
        throw AppError(QStringLiteral("The bookmark data couldn’t be resolved."),
                       QStringLiteral("The data isn’t in the correct format."));
    const QByteArray path = QFile::encodeName(record->path);
    int error = 0;
    if (const auto found = identity(path, &error))
        return {record->path, found->device != record->device || found->inode != record->inode};
    const int atPath = error;
    const qsizetype slash = path.lastIndexOf('/');
    const QByteArray folder = slash == 0 ? QByteArray("/") : path.left(slash);
    if (const auto moved = findByInode(folder, {record->device, record->inode}))
        return {QFile::decodeName(*moved), true};
    throw AppError::fromErrno(atPath,
                              QStringLiteral("The file “%1” couldn’t be found.").arg(record->path));
}
