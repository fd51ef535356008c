// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QIcon>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <functional>

class QWidget;

// Application-wide actions without state of their own: the about box, the feedback mail and
// the desktop's settings for programs started at login.
class AppActions
{
public:
    static QString supportAddress();
    static QString feedbackSubject();
    // "mailto:<address>?subject=…", or an invalid URL when the text does not make one.
    static QUrl feedbackMailURL(const QString& address);

    // Opens a mail to the support address in the user's mail program.
    static void sendFeedbacks();

    // The application image "Little": the installed icon of the application id from the icon
    // theme, else the copy in the program's data, else a generic one.
    static QIcon littleImage();
    // The copy built into the program, which needs no icon theme read.
    static QIcon bundledLittleImage();

    // Name, version, licence and image; one box, raised again when asked twice.
    static void showAbout(QWidget* parent = nullptr);
    static QWidget* aboutBox();

    // The login-items settings of the running desktop: the first command that exists, for the
    // desktop names of $XDG_CURRENT_DESKTOP.
    static QList<QStringList> loginItemsSettingsCommands(const QString& currentDesktop);
    // Starts the desktop's autostart settings, else opens the autostart folder in the file
    // manager. `findProgram` answers a program's path or nothing (tests replace it).
    static bool
    openLoginItemsSettings(const QString& currentDesktop,
                           const std::function<QString(const QString&)>& findProgram = {});
};
