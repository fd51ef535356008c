// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/BrambleworthMain.h"

#include "App/AppLaunch.h"
#include "App/CommandLineFront.h"
#include "BuildConfig.h"
#include "Model/AppConfig.h"
#include "Model/Preferences.h"
#include "QuillonCommons/AppLogger.h"
#include "QuillonCommons/ProcessLimits.h"
#include "SyntaxHighlight/SyntaxHighlight.h"
#include "platform/linux/OSLogger.h"

#include <QCoreApplication>

int BrambleworthMain::run(int argc, char** argv)
{
    AppLogger::setLoggerFactory(&OSLogger::makeSystemLogger);
    ProcessLimits::raiseOpenFileLimit();
    if (AppLaunch::handles(argc, argv))
        return AppLaunch::run(argc, argv);

    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("brambleworth"));
    QCoreApplication::setApplicationVersion(QStringLiteral(BRAMBLEWORTH_VERSION));

    Preferences& preferences = Preferences::shared();
    const QStringList arguments = preferences.setArguments(QCoreApplication::arguments());
    preferences.registerStandardDefaults();
    AppConfig::setPreferences(&preferences);
    SyntaxHighlight::setSharedPreferences(&preferences);

    CommandLineFront front;
    return front.run(arguments);
}
