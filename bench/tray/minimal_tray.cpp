// SPDX-License-Identifier: GPL-3.0-or-later
// The reference for the tray launch benchmark: the least a Qt program does to show a tray icon
// with a menu.
#include <QApplication>
#include <QMenu>
#include <QPainter>
#include <QPixmap>
#include <QSystemTrayIcon>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    app.setQuitOnLastWindowClosed(false);
    QPixmap pixmap(22, 22);
    pixmap.fill(Qt::darkMagenta);
    QMenu menu;
    menu.addAction(QStringLiteral("About"));
    menu.addSeparator();
    menu.addAction(QStringLiteral("Quit"), &app, &QCoreApplication::quit);
    QSystemTrayIcon icon{QIcon(pixmap)};
    icon.setContextMenu(&menu);
    icon.show();
    return app.exec();
}
