// SPDX-License-Identifier: GPL-3.0-or-later
#include "QuillonCommons/FileUtils.h"

#include "QuillonCommons/AppError.h"
#include "QuillonCommons/AppLogger.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QMutexLocker>
#include <QSaveFile>
#include <QScopeGuard>
#include <QSet>
#include <QStandardPaths>
#include <QUuid>

#include <algorithm>
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

// A folder of our own with its parents made: private, and checked to be ours.
bool prepareOwnFolder(const QString& path)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    return preparePrivateFolder(path);
}

// The program's folder in the session's runtime folder, which the system empties at logout.
std::optional<QString> runtimePlace()
{
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (runtime.isEmpty() || !QFileInfo(runtime).isDir())
        return std::nullopt;
    return QDir::cleanPath(runtime) + QStringLiteral("/brambleworth");
}

// The program's folder in the user's cache folder, where a desktop lets programs run.
QString cachePlace()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
           QStringLiteral("/brambleworth");
}

} // namespace

bool FileUtils::isOnNoexecMount(const QString& path)
{
    struct statvfs info
    {};
    return ::statvfs(QFile::encodeName(path).constData(), &info) == 0 &&
           (info.f_flag & ST_NOEXEC) != 0;
}

QString FileUtils::privateTemporaryFolder()
{
    QStringList places;
    if (const std::optional<QString> runtime = runtimePlace())
        places << *runtime;
    places << cachePlace();
    for (const QString& place : std::as_const(places)) {
        const QString folder = place + QStringLiteral("/drags");
        if (prepareOwnFolder(place) && preparePrivateFolder(folder))
            return folder;
    }
    return {};
}

QStringList FileUtils::scratchPlaces()
{
    QStringList places;
    if (const std::optional<QString> runtime = runtimePlace())
        places << *runtime;
    places << temporaryDirectoryURL();
    // Home is where a desktop lets programs run when every temporary folder forbids it.
    places << cachePlace() + QStringLiteral("/scratch");
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
        if (place != temporary && !prepareOwnFolder(place) && !last)
            continue;
        if (last || !isOnNoexecMount(place))
            return place;
        warnOnce(QStringLiteral("%1 is on a file system mounted noexec, where scripts cannot run; "
                                "scratch folders go to the next place instead")
                     .arg(place));
    }
    return temporary;
}

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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
    const QString name = QFileInfo(path).fileName();
    const auto failure = [&name](const char* what, const QString& reason) {
        return AppError(
            QStringLiteral("The file “%1” couldn’t be %2.").arg(name, QLatin1String(what)), reason);
    };
    // Non-blocking, so that opening a FIFO answers at once instead of waiting for a writer.
    const int fd =
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (fd < 0)
        throw failure("opened", qt_error_string(errno));
    const auto closing = qScopeGuard([fd] { ::close(fd); });
    struct stat info
    {};
    if (::fstat(fd, &info) != 0)
        throw failure("opened", qt_error_string(errno));
    if (!S_ISREG(info.st_mode))
        throw failure("opened", QStringLiteral("It is not a regular file."));
    if (info.st_size > maximumReadSize)
        throw failure("read", QStringLiteral("It is larger than %1 bytes.").arg(maximumReadSize));

    // The size is a hint: the file may grow or shrink while it is read.
    QByteArray data;
    data.resize(qsizetype(info.st_size) + 1);
    qsizetype used = 0;
    for (;;) {
        if (used == data.size()) {
            if (used > maximumReadSize)
                throw failure("read",
                              QStringLiteral("It is larger than %1 bytes.").arg(maximumReadSize));
            data.resize(std::min<qsizetype>(used * 2 + 4096, maximumReadSize + 1));
        }
        const ssize_t n = ::read(fd, data.data() + used, size_t(data.size() - used));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            throw failure("read", qt_error_string(errno));
        if (n == 0)
            break;
        used += n;
    }
    if (used > maximumReadSize)
        throw failure("read", QStringLiteral("It is larger than %1 bytes.").arg(maximumReadSize));
    data.truncate(used);
    return data;
}

void FileUtils::writeAtomically(const QString& path, const QByteArray& data)
{
    const auto failure = [&path](const QString& reason) {
        return AppError(QStringLiteral("The file “%1” couldn’t be saved.").arg(path), reason);
    };
    // Unbuffered: a buffered write that fails only when commit() flushes it (a full disk) is
    // not reported by commit(), which then replaces the file with a short one.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        throw failure(file.errorString());
    // A short write carries no error of its own; the next attempt reports the system's reason.
    qint64 written = 0;
    while (written < data.size()) {
        const qint64 n = file.write(data.constData() + written, data.size() - written);
        if (n <= 0) {
            const QString reason = file.errorString();
            file.cancelWriting();
            throw failure(reason);
        }
        written += n;
    }
    if (!file.commit())
        throw failure(file.errorString());
}

QString FileUtils::setAsideUnreadable(const QString& path)
{
    const QByteArray data = readWholeFile(path);
    const QString stem = path + QStringLiteral(".unreadable-") +
                         QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    // Never replaces an earlier copy: two set-asides within one second get a counter.
    for (int attempt = 0;; ++attempt) {
        const QString target =
            attempt == 0 ? stem : stem + QLatin1Char('-') + QString::number(attempt);
        const int fd = ::open(QFile::encodeName(target).constData(),
                              O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
        if (fd < 0 && errno == EEXIST && attempt < 100)
            continue;
        if (fd < 0)
            throw AppError::fromErrno(
                errno, QStringLiteral("The file “%1” couldn’t be copied.").arg(path));
        qsizetype done = 0;
        int error = 0;
        while (done < data.size() && error == 0) {
            const ssize_t n = ::write(fd, data.constData() + done, size_t(data.size() - done));
            if (n > 0)
                done += n;
            else if (n == 0)
                error = EIO;
            else if (errno != EINTR)
                error = errno;
        }
        if (error == 0 && ::fsync(fd) != 0)
            error = errno;
        ::close(fd);
        if (error != 0) {
            ::unlink(QFile::encodeName(target).constData());
            throw AppError::fromErrno(
                error, QStringLiteral("The file “%1” couldn’t be copied.").arg(path));
        }
        return target;
    }
}

namespace {

// QSaveFile's side-file suffix is six random ASCII letters. A suffix that reads as a word in
// one case ("backup", "BACKUP", "Backup") is more likely the user's own copy than ours, and
// is left alone; ours take that form once in about twenty saves.
bool isSaveSuffix(QStringView suffix)
{
    if (suffix.size() != 6)
        return false;
    int upper = 0;
    for (const QChar c : suffix) {
        if (c >= QLatin1Char('A') && c <= QLatin1Char('Z'))
            ++upper;
        else if (c < QLatin1Char('a') || c > QLatin1Char('z'))
            return false;
    }
    const bool capitalised = upper == 1 && suffix.front().isUpper();
    return upper != 0 && upper != 6 && !capitalised;
}

} // namespace

QStringList FileUtils::removeInterruptedSaves(const QString& path)
{
    const QFileInfo target(path);
    const QString prefix = target.fileName() + QLatin1Char('.');
    QDir folder = target.dir();
    const QStringList candidates =
        folder.entryList({prefix + QStringLiteral("??????")}, QDir::Files | QDir::Hidden);
    QStringList removed;
    for (const QString& name : candidates) {
        if (!isSaveSuffix(QStringView(name).mid(prefix.size())))
            continue;
        const QString candidate = folder.filePath(name);
        struct stat info
        {};
        // Only a plain file of ours: never through a symbolic link, never someone else's.
        if (::lstat(QFile::encodeName(candidate).constData(), &info) != 0 ||
            !S_ISREG(info.st_mode) || info.st_uid != ::geteuid())
            continue;
        if (::unlink(QFile::encodeName(candidate).constData()) == 0)
            removed << candidate;
    }
    return removed;
}
