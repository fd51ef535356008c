// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/GuiTestSupport.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QWidget>

namespace GuiTestSupport {

void prepareRuntimeFolder()
{
    const QString folder = QFile::decodeName(qgetenv("XDG_RUNTIME_DIR"));
    if (folder.isEmpty())
        return;
    QDir().mkpath(folder);
    QFile::setPermissions(folder,
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
}

bool saveScreenshot(QWidget* widget, const QString& name)
{
    const QImage image = widget->grab().toImage().convertToFormat(QImage::Format_RGB32);
    const QString folder = TestEnvironment::outputFolder() + QStringLiteral("/screenshots");
    QDir().mkpath(folder);
    const QString path = folder + QLatin1Char('/') + name + QLatin1Char('-') +
                         QGuiApplication::platformName() + QStringLiteral(".png");
    if (image.isNull() || !image.save(path))
        return false;
    const QRgb first = image.pixel(0, 0);
    for (int y = 0; y < image.height(); ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            if (line[x] != first)
                return true;
        }
    }
    return false;
}

} // namespace GuiTestSupport
