// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/AppActions.h"

#include "BuildConfig.h"
#include "Model/AppFiles.h"
#include "QuillonCommons/AppLogger.h"
#include "QuillonCommons/AutoLaunch.h"

#include <QApplication>
#include <QCoreApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QMessageBox>
#include <QPointer>
#include <QProcess>
#include <QStandardPaths>
#include <QUrlQuery>

namespace {
QPointer<QMessageBox> g_aboutBox;
}

QString AppActions::supportAddress()
{
    return QStringLiteral("feedback@brambleworth.org");
}

QString AppActions::feedbackSubject()
{
    return QStringLiteral("[Brambleworth] Feedbacks");
}

QUrl AppActions::feedbackMailURL(const QString& address)
{
    QUrl url(QStringLiteral("mailto:") + address, QUrl::StrictMode);
    if (!url.isValid() || address.isEmpty() || address.contains(QLatin1Char('?')))
        return {};
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("subject"), feedbackSubject());
    url.setQuery(query);
    return url;
}

void AppActions::sendFeedbacks()
{
    const QString text = QStringLiteral("mailto:") + supportAddress();
    const QUrl url = feedbackMailURL(supportAddress());
    if (!url.isValid()) {
        AppLogger::error(QStringLiteral("malformed url: ") + text);
        return;
    }
    AppLogger::debug(QStringLiteral("Open mailto URL: ") + url.toString(QUrl::FullyEncoded));
    QDesktopServices::openUrl(url);
}

QIcon AppActions::littleImage()
{
    const QString id = QStringLiteral(BRAMBLEWORTH_APP_ID);
    QIcon icon = QIcon::fromTheme(id);
    if (!icon.isNull())
        return icon;
    // Installed under a prefix the icon theme does not search (/opt, ~/.local): the file
    // sits beside the program's data, in share/icons.
    if (const auto data = AppFiles::resourcesURL()) {
        const QString beside = *data + QStringLiteral("/../icons/hicolor/scalable/apps/") + id +
                               QStringLiteral(".svg");
        if (QFileInfo::exists(beside))
            return QIcon(beside);
    }
    return bundledLittleImage();
}

QIcon AppActions::bundledLittleImage()
{
    return QIcon(QStringLiteral(":/icons/hicolor/scalable/apps/org.brambleworth.Brambleworth.svg"));
}

QWidget* AppActions::aboutBox()
{
    return g_aboutBox;
}

void AppActions::showAbout(QWidget* parent)
{
    if (!g_aboutBox) {
        auto* box = new QMessageBox(parent);
        box->setObjectName(QStringLiteral("aboutBox"));
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->setWindowTitle(QCoreApplication::translate("AppActions", "About Brambleworth"));
        box->setIconPixmap(littleImage().pixmap(64, 64));
        box->setTextFormat(Qt::RichText);
        box->setText(QStringLiteral("<h3>Brambleworth</h3><p>%1 %2</p>")
                         .arg(QCoreApplication::translate("AppActions", "Version"),
                              QStringLiteral(BRAMBLEWORTH_VERSION)));
        box->setInformativeText(QCoreApplication::translate(
            "AppActions",
            "Your small scripts, one click or one key away.<br><br>"
            "This program is free software: you can redistribute it and/or modify it under "
            "the terms of the GNU General Public License, version 3 or later.<br>"
            "<a href=\"https://www.gnu.org/licenses/gpl-3.0.html\">GPL-3.0-or-later</a>"));
        box->setTextInteractionFlags(Qt::TextBrowserInteraction);
        box->setStandardButtons(QMessageBox::Close);
        g_aboutBox = box;
    }
    g_aboutBox->show();
    g_aboutBox->raise();
    g_aboutBox->activateWindow();
}

QList<QStringList> AppActions::loginItemsSettingsCommands(const QString& currentDesktop)
{
    QList<QStringList> commands;
    const QStringList desktops =
        currentDesktop.toUpper().split(QLatin1Char(':'), Qt::SkipEmptyParts);
    for (const QString& desktop : desktops) {
        if (desktop == QLatin1String("KDE")) {
            commands << QStringList{QStringLiteral("systemsettings"),
                                    QStringLiteral("kcm_autostart")}
                     << QStringList{QStringLiteral("kcmshell6"), QStringLiteral("kcm_autostart")}
                     << QStringList{QStringLiteral("kcmshell5"), QStringLiteral("autostart")};
        } else if (desktop == QLatin1String("GNOME") || desktop == QLatin1String("UNITY") ||
                   desktop == QLatin1String("BUDGIE")) {
            commands << QStringList{QStringLiteral("gnome-session-properties")}
                     << QStringList{QStringLiteral("gnome-tweaks")};
        } else if (desktop == QLatin1String("XFCE")) {
            commands << QStringList{QStringLiteral("xfce4-session-settings")};
        } else if (desktop == QLatin1String("MATE")) {
            commands << QStringList{QStringLiteral("mate-session-properties")};
        } else if (desktop == QLatin1String("X-CINNAMON") || desktop == QLatin1String("CINNAMON")) {
            commands << QStringList{QStringLiteral("cinnamon-session-properties")};
        } else if (desktop == QLatin1String("LXQT")) {
            commands << QStringList{QStringLiteral("lxqt-config-session")};
        }
    }
    return commands;
}

bool AppActions::openLoginItemsSettings(const QString& currentDesktop,
                                        const std::function<QString(const QString&)>& findProgram)
{
    const auto find = findProgram ? findProgram : [](const QString& name) {
        return QStandardPaths::findExecutable(name);
    };
    for (const QStringList& command : loginItemsSettingsCommands(currentDesktop)) {
        const QString program = find(command.first());
        if (program.isEmpty())
            continue;
        AppLogger::debug(QStringLiteral("Open login items settings: ") +
                         command.join(QLatin1Char(' ')));
        if (QProcess::startDetached(program, command.mid(1)))
            return true;
    }
    const QString folder = AutoLaunch::autostartFolder();
    QDir().mkpath(folder);
    AppLogger::debug(QStringLiteral("Open login items folder: ") + folder);
    return QDesktopServices::openUrl(QUrl::fromLocalFile(folder));
}
