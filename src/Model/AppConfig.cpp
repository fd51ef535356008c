// SPDX-License-Identifier: GPL-3.0-or-later
#include "Model/AppConfig.h"

#include "BuildConfig.h"
#include "Model/Preferences.h"
#include "QuillonCommons/AppError.h"
#include "QuillonCommons/AppLogger.h"

#include <QDir>
#include <QFile>
#include <QMutex>
#include <QMutexLocker>
#include <QPointer>
#include <QStandardPaths>

#include <cerrno>
#include <sys/stat.h>

namespace {

QMutex g_mutex;
bool g_computed = false;
std::optional<QString> g_folder;
QPointer<const Preferences> g_preferences;

// mkdir -p, with the folders it creates private to the user.
bool makePrivatePath(const QString& path, int* error)
{
    QString built;
    const QStringList parts = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    for (const QString& part : parts) {
        built += QLatin1Char('/') + part;
        const QByteArray native = QFile::encodeName(built);
        if (::mkdir(native.constData(), 0700) != 0 && errno != EEXIST) {
            *error = errno;
            return false;
        }
    }
    struct stat info
    {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0 || !S_ISDIR(info.st_mode)) {
        *error = ENOTDIR;
        return false;
    }
    return true;
}

} // namespace

QString AppConfig::bundleIdentifier()
{
    static const QString identifier = QStringLiteral(BRAMBLEWORTH_APP_ID);
    if (identifier.isEmpty())
        qFatal("the application has no identifier");
    return identifier;
}

std::optional<QString> AppConfig::computeApplicationSupportDirectory(const Preferences* preferences)
{
    QString base;
    const QString custom =
        preferences ? preferences->string(Preferences::customApplicationSupportDirectoryKey())
                    : QString();
    if (!custom.isEmpty()) {
        AppLogger::info(QStringLiteral("Custom application folder : ") + custom);
        base = custom;
    } else {
        base = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
        if (base.isEmpty())
            return std::nullopt;
    }
    const QString folder = QDir::cleanPath(QDir(base).absoluteFilePath(bundleIdentifier()));
    int error = 0;
    if (!makePrivatePath(folder, &error)) {
        AppLogger::error(
            AppError::fromErrno(error, QStringLiteral("cannot create the folder %1").arg(folder)),
            QStringLiteral("applicationSupportDirectoryURL"), __LINE__);
    }
    return folder;
}

std::optional<QString> AppConfig::applicationSupportDirectoryURL()
{
    QMutexLocker lock(&g_mutex);
    if (!g_computed) {
        g_folder = computeApplicationSupportDirectory(g_preferences.data());
        g_computed = true;
    }
    return g_folder;
}

void AppConfig::setPreferences(const Preferences* preferences)
{
    QMutexLocker lock(&g_mutex);
    g_preferences = preferences;
    g_computed = false;
    g_folder.reset();
}

void AppConfig::resetForTesting()
{
    QMutexLocker lock(&g_mutex);
    g_computed = false;
    g_folder.reset();
}
