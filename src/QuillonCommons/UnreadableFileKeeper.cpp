// SPDX-License-Identifier: GPL-3.0-or-later
#include "QuillonCommons/UnreadableFileKeeper.h"

#include "QuillonCommons/AppError.h"
#include "QuillonCommons/AppLogger.h"
#include "QuillonCommons/FileUtils.h"

#include <QFile>

#include <sys/stat.h>

namespace {

bool holdsSomething(const QString& path)
{
    struct stat info
    {};
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 && S_ISREG(info.st_mode) &&
           info.st_size > 0;
}

} // namespace

void UnreadableFileKeeper::loadFailed(const QString& path)
{
    if (holdsSomething(path))
        m_path = path;
    else
        m_path.reset();
}

bool UnreadableFileKeeper::prepareSave(const QString& function, int line)
{
    if (!m_path)
        return true;
    // Replaced or emptied since the failed load: nothing of the user's is lost by saving.
    if (!holdsSomething(*m_path)) {
        m_path.reset();
        return true;
    }
    try {
        const QString copy = FileUtils::setAsideUnreadable(*m_path);
        AppLogger::error(QStringLiteral("the unreadable file %1 was kept as %2 before saving")
                             .arg(*m_path, copy));
        m_path.reset();
        return true;
    } catch (const AppError& error) {
        AppLogger::error(error, function, line);
        return false;
    }
}
