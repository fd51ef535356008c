// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

// Start at login through an XDG autostart entry, "<config>/autostart/<application id>.desktop",
// where <config> is $XDG_CONFIG_HOME (normally ~/.config). The entry is ours by its file name:
// the desktop's own settings may disable it (Hidden, X-GNOME-Autostart-enabled) without
// removing it, and then it does not count as on.
class AutoLaunch
{
public:
    AutoLaunch(QString applicationId, QString programPath, QString displayName);
    virtual ~AutoLaunch();

    // The program that runs now (installed or in a build tree), under the build's id.
    static AutoLaunch forThisProgram();

    static QString autostartFolder();
    QString entryPath() const;
    QString programPath() const { return m_programPath; }

    virtual bool isEnabled() const;
    // Writes or removes the entry; a failure is logged and answered false.
    virtual bool setAutoLaunch(bool enabled);

    QByteArray entryText() const;
    // The program as one argument of an Exec line, quoted and escaped as desktop entries need.
    static QString execArgument(const QString& path);

private:
    QString m_applicationId;
    QString m_programPath;
    QString m_displayName;
};
