// SPDX-License-Identifier: GPL-3.0-or-later
#include "Model/AppFiles.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include "BuildConfig.h"

namespace {
bool g_overridden = false;
std::optional<QString> g_override;
} // namespace

void AppFiles::setResourcesURLForTesting(std::optional<QString> url)
{
    g_overridden = true;
    g_override = std::move(url);
    if (g_override && g_override->isEmpty())
        g_override.reset();
}

std::optional<QString> AppFiles::resourcesURL()
{
    if (g_overridden)
        return g_override;
    const QString relative =
        QCoreApplication::applicationDirPath() + QStringLiteral("/../share/brambleworth");
    if (QFileInfo(relative).isDir())
        return QDir::cleanPath(relative);
    const QString installed = QStringLiteral(BRAMBLEWORTH_INSTALLED_DATA_DIR);
    if (QFileInfo(installed).isDir())
        return installed;
    return std::nullopt;
}

std::optional<QString> AppFiles::builtInScriptsURL()
{
    const auto resources = resourcesURL();
    if (!resources)
        return std::nullopt;
    return *resources + QStringLiteral("/BuiltIn Scripts");
}
