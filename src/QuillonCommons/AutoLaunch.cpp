// SPDX-License-Identifier: GPL-3.0-or-later
#include "QuillonCommons/AutoLaunch.h"

#include "BuildConfig.h"
#include "QuillonCommons/AppError.h"
#include "QuillonCommons/AppLogger.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

#include <algorithm>

namespace {
// Desktop entry booleans are "true"/"false"; a missing key keeps the entry on.
bool keyIsFalse(const QByteArray& text, const QByteArray& key, bool falseMeans)
{
    for (const QByteArray& rawLine : text.split('\n')) {
        const QByteArray line = rawLine.trimmed();
        if (line.startsWith('['))
            continue;
        const int equals = line.indexOf('=');
        if (equals < 0 || line.left(equals).trimmed() != key)
            continue;
        const QByteArray value = line.mid(equals + 1).trimmed();
        return falseMeans ? value == "false" : value == "true";
    }
    return false;
}
} // namespace

AutoLaunch::AutoLaunch(QString applicationId, QString programPath, QString displayName)
    : m_applicationId(std::move(applicationId)), m_programPath(std::move(programPath)),
      m_displayName(std::move(displayName))
{}

AutoLaunch::~AutoLaunch() = default;

AutoLaunch AutoLaunch::forThisProgram()
{
    return AutoLaunch(QStringLiteral(BRAMBLEWORTH_APP_ID), QCoreApplication::applicationFilePath(),
                      QStringLiteral("Brambleworth"));
}

QString AutoLaunch::autostartFolder()
{
    // GenericConfigLocation honours $XDG_CONFIG_HOME and falls back to ~/.config.
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/autostart");
}

QString AutoLaunch::entryPath() const
{
    return autostartFolder() + QLatin1Char('/') + m_applicationId + QStringLiteral(".desktop");
}

bool AutoLaunch::isEnabled() const
{
    QFile file(entryPath());
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray text = file.readAll();
    return !keyIsFalse(text, "Hidden", false) &&
           !keyIsFalse(text, "X-GNOME-Autostart-enabled", true);
}

QString AutoLaunch::execArgument(const QString& path)
{
    static const QString reserved = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
    QString argument = path;
    argument.replace(QLatin1Char('%'), QStringLiteral("%%"));
    const bool needsQuotes = std::any_of(argument.cbegin(), argument.cend(),
                                         [](QChar c) { return reserved.contains(c); });
    if (!needsQuotes)
        return argument;
    QString quoted;
    for (const QChar c : argument) {
        if (c == QLatin1Char('"') || c == QLatin1Char('`') || c == QLatin1Char('$') ||
            c == QLatin1Char('\\'))
            quoted += QLatin1Char('\\');
        quoted += c;
    }
    quoted = QLatin1Char('"') + quoted + QLatin1Char('"');
    // The value itself is a string, whose own escape doubles every backslash once more.
    quoted.replace(QLatin1Char('\\'), QStringLiteral("\\\\"));
    return quoted;
}

QByteArray AutoLaunch::entryText() const
{
    QString text;
    text += QStringLiteral("[Desktop Entry]\n");
    text += QStringLiteral("Type=Application\n");
    text += QStringLiteral("Name=") + m_displayName + QLatin1Char('\n');
    text += QStringLiteral("Exec=") + execArgument(m_programPath) + QLatin1Char('\n');
    text += QStringLiteral("Icon=") + m_applicationId + QLatin1Char('\n');
    text += QStringLiteral("Terminal=false\n");
    text += QStringLiteral("X-GNOME-Autostart-enabled=true\n");
    return text.toUtf8();
}

bool AutoLaunch::setAutoLaunch(bool enabled)
{
    const QString path = entryPath();
    try {
        if (!enabled) {
            if (QFileInfo::exists(path) && !QFile::remove(path))
                throw AppError(QStringLiteral("cannot remove the autostart entry ") + path,
                               QFile(path).errorString());
            return true;
        }
        if (!QDir().mkpath(autostartFolder()))
            throw AppError(QStringLiteral("cannot create the folder ") + autostartFolder());
        QSaveFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            throw AppError(QStringLiteral("cannot write the autostart entry ") + path,
                           file.errorString());
        file.write(entryText());
        if (!file.commit())
            throw AppError(QStringLiteral("cannot write the autostart entry ") + path,
                           file.errorString());
        return true;
    } catch (const AppError& error) {
        AppLogger::error(error, QStringLiteral("setAutoLaunch(_:)"), __LINE__);
        return false;
    }
}
