// SPDX-License-Identifier: GPL-3.0-or-later
#include "QuillonCommons/FileUtils.h"

#include "QuillonCommons/AppError.h"
#include "QuillonCommons/AppLogger.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QMutexLocker>
#include <QSaveFile>
#include <QSet>
#include <QStandardPaths>
#include <QUuid>

#include <cerrno>
#include <cstdlib>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace {

// Each reason to pass a place by is logged once: a noexec /tmp would otherwise repeat it on
// every run.
void warnOnce(const QString& message)
{
    static QMutex mutex;
    static QSet<QString> told;
    {
        QMutexLocker lock(&mutex);
        if (told.contains(message))
            return;
        told.insert(message);
    }
    AppLogger::warning(message);
}

// A scratch place of our own (in the runtime or the cache folder): made private if new, and
// used only if it is a real directory of ours, never through a link someone else planted.
bool preparePrivateFolder(const QString& path)
{
    const QByteArray native = QFile::encodeName(path);
    if (::mkdir(native.constData(), 0700) != 0 && errno != EEXIST) {
        warnOnce(QStringLiteral("cannot create %1: %2").arg(path, qt_error_string(errno)));
        return false;
    }
    struct stat info
    {};
    if (::lstat(native.constData(), &info) != 0 || !S_ISDIR(info.st_mode) ||
        info.st_uid != ::geteuid()) {
        warnOnce(QStringLiteral("%1 is not a folder of this user; not used for scratch files")
                     .arg(path));
        return false;
    }
    if ((info.st_mode & 07777) != 0700)
        ::chmod(native.constData(), 0700);
    return true;
}

} // namespace

bool FileUtils::isOnNoexecMount(const QString& path)
{
    struct statvfs info
    {};
    return ::statvfs(QFile::encodeName(path).constData(), &info) == 0 &&
           (info.f_flag & ST_NOEXEC) != 0;
}

QStringList FileUtils::scratchPlaces()
{
    QStringList places;
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && QFileInfo(runtime).isDir())
        places << QDir::cleanPath(runtime) + QStringLiteral("/brambleworth");
    places << temporaryDirectoryURL();
    // Home is where a desktop lets programs run when every temporary folder forbids it.
    places << QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
                  QStringLiteral("/brambleworth/scratch");
    return places;
}

QString FileUtils::scratchParent()
{
    const QStringList places = scratchPlaces();
    const QString temporary = temporaryDirectoryURL();
    for (qsizetype i = 0; i < places.size(); ++i) {
        const QString& place = places.at(i);
        const bool last = i + 1 == places.size();
        // The temporary folder is the user's to set up; the others are folders of our own.
        if (place != temporary) {
            QDir().mkpath(QFileInfo(place).absolutePath());
            if (!preparePrivateFolder(place) && !last)
                continue;
        }
        if (last || !isOnNoexecMount(place))
            return place;
        warnOnce(QStringLiteral("%1 is on a file system mounted noexec, where scripts cannot run; "
                                "scratch folders go to the next place instead")
                     .arg(place));
    }
    return temporary;
}

std::optional<QString> FileUtils::makeScratchDirectory(const QString& function, int line)
{
    const QString parent = scratchParent();
    QByteArray pattern = QFile::encodeName(parent + QStringLiteral("/brambleworth-XXXXXX"));
    if (!mkdtemp(pattern.data())) {
        AppLogger::error(
            AppError::fromErrno(
                errno, QStringLiteral("cannot create a scratch directory in %1").arg(parent)),
            function, line);
        return std::nullopt;
    }
    return QFile::decodeName(pattern);
}

std::optional<QString> FileUtils::tempraryDirectory()
{
    return makeScratchDirectory(QStringLiteral("tempraryDirectory()"), __LINE__);
}

std::optional<QString> FileUtils::tempraryFile()
{
    const auto directory = makeScratchDirectory(QStringLiteral("tempraryFile()"), __LINE__);
    if (!directory)
        return std::nullopt;
    return *directory + QLatin1Char('/') + uniqueName();
}

QString FileUtils::uniqueName()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

QStringList FileUtils::regularFiles(const QString& directory)
{
    return QDir(directory).entryList(QDir::Files | QDir::Hidden | QDir::NoSymLinks, QDir::Name);
}

QString FileUtils::temporaryDirectoryURL()
{
    // Not QDir::tempPath(): it canonicalises, and a TMPDIR that does not exist would come back
    // empty, putting scratch folders at the root of the file system.
    const QString configured = qEnvironmentVariable("TMPDIR");
    return QDir::cleanPath(configured.isEmpty() ? QStringLiteral("/tmp") : configured);
}

QByteArray FileUtils::readWholeFile(const QString& path)
{
    QFile file(path);
    const QString name = QFileInfo(path).fileName();
    if (!file.open(QIODevice::ReadOnly))
        throw AppError(QStringLiteral("The file “%1” couldn’t be opened.").arg(name),
                       file.errorString());
    QByteArray data = file.readAll();
    if (file.error() != QFileDevice::NoError)
        throw AppError(QStringLiteral("The file “%1” couldn’t be read.").arg(name),
                       file.errorString());
    return data;
}

void FileUtils::writeAtomically(const QString& path, const QByteArray& data)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        throw AppError(QStringLiteral("The file “%1” couldn’t be saved.").arg(path),
                       file.errorString());
    if (file.write(data) != data.size()) {
        const QString reason = file.errorString();
        file.cancelWriting();
        throw AppError(QStringLiteral("The file “%1” couldn’t be saved.").arg(path), reason);
    }
    if (!file.commit())
        throw AppError(QStringLiteral("The file “%1” couldn’t be saved.").arg(path),
                       file.errorString());
}
