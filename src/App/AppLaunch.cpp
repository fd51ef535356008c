// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/AppLaunch.h"

#include "App/AppActions.h"
#include "App/BrambleworthApp.h"
#include "App/BrambleworthAppDelegate.h"
#include "BuildConfig.h"
#include "HotKeys/KeyboardLayout.h"
#include "Model/AppConfig.h"
#include "Model/Preferences.h"
#include "Model/ScriptsManager.h"
#include "QuillonCommons/AppLogger.h"
#include "SyntaxHighlight/SyntaxHighlight.h"
#include "UI/MainWindowContoller.h"
#include "platform/linux/DBusNotificationCenter.h"
#include "platform/linux/SingleInstance.h"
#include "platform/x11/X11HotKeys.h"

#include <QDBusConnection>
#include <QIcon>

#include <cstdio>

namespace {

QStringList optionsOf(const QStringList& arguments)
{
    QStringList remaining;
    Preferences::parseArgumentDomain(arguments, &remaining);
    return remaining.mid(1);
}

QStringList argumentsOf(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    return arguments;
}

} // namespace

bool AppLaunch::handles(const QStringList& arguments)
{
    const QStringList options = optionsOf(arguments);
    return options.isEmpty() ||
           (options.size() == 2 && options.first() == QLatin1String("--trigger"));
}

bool AppLaunch::handles(int argc, char** argv)
{
    return handles(argumentsOf(argc, argv));
}

int AppLaunch::trigger(const QString& nameOrId)
{
    const std::optional<QString> error = SingleInstance::triggerRunning(
        QDBusConnection::sessionBus(), QStringLiteral(BRAMBLEWORTH_APP_ID), nameOrId);
    if (!error)
        return 0;
    std::fprintf(stderr, "brambleworth: %s.\n", qPrintable(*error));
    return 1;
}

int AppLaunch::run(int argc, char** argv)
{
    const QStringList options = optionsOf(argumentsOf(argc, argv));
    if (!options.isEmpty()) {
        QCoreApplication app(argc, argv);
        return trigger(options.at(1));
    }

    BrambleworthApp app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("brambleworth"));
    QCoreApplication::setApplicationVersion(QStringLiteral(BRAMBLEWORTH_VERSION));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Brambleworth"));
    QGuiApplication::setDesktopFileName(QStringLiteral(BRAMBLEWORTH_APP_ID));
    // The bundled image until the delegate looks the theme up, once the tray is up.
    QGuiApplication::setWindowIcon(AppActions::bundledLittleImage());

    Preferences& preferences = Preferences::shared();
    preferences.setArguments(QCoreApplication::arguments());
    AppConfig::setPreferences(&preferences);
    SyntaxHighlight::setSharedPreferences(&preferences);

    SingleInstance instance(QDBusConnection::sessionBus(), QStringLiteral(BRAMBLEWORTH_APP_ID));
    switch (instance.claim()) {
    case SingleInstance::Claim::alreadyRuns:
        if (const std::optional<QString> error = SingleInstance::activateRunning(
                QDBusConnection::sessionBus(), QStringLiteral(BRAMBLEWORTH_APP_ID))) {
            std::fprintf(stderr, "brambleworth: %s.\n", qPrintable(*error));
            return 1;
        }
        return 0;
    case SingleInstance::Claim::noBus:
        AppLogger::error(
            QStringLiteral("no D-Bus session bus: another Brambleworth may run beside this one"));
        break;
    case SingleInstance::Claim::owner:
        break;
    }

    // Keyboard and login-item changes travel as session bus signals.
    DBusNotificationCenter::install(&app);

    // Hot keys go through the application's own X connection.
    X11HotKeys::install(KeyboardLayout::shared());
    app.quitOnTerminationSignals();

    BrambleworthAppDelegate* delegate = app.makeDelegate(ScriptsManager::shared(), preferences);
    QObject::connect(&instance, &SingleInstance::activateRequested, delegate,
                     &BrambleworthAppDelegate::openMainWindow);
    instance.triggerHandler = [delegate](const QString& nameOrId) {
        return delegate->trigger(nameOrId);
    };
    delegate->applicationDidFinishLaunching();
    const int status = QCoreApplication::exec();
    instance.triggerHandler = nullptr;
    return status;
}
