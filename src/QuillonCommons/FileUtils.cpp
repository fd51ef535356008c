// SPDX-License-Identifier: GPL-3.0-or-later
#include "QuillonCommons/FileUtils.h"

#include "QuillonCommons/AppError.h"
#include "QuillonCommons/AppLogger.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QUuid>

#include <cerrno>
#include <cstdlib>

std::optional<QString> FileUtils::makeScratchDirectory(const QString& function, int line)
{
    QByteArray pattern =
        QFile::encodeName(temporaryDirectoryURL() + QStringLiteral("/brambleworth-XXXXXX"));
    if (!mkdtemp(pattern.data())) {
        AppLogger::error(
            AppError::fromErrno(errno, QStringLiteral("cannot create a scratch directory in %1")
                                           .arg(temporaryDirectoryURL())),
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
