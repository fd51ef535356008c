// SPDX-License-Identifier: GPL-3.0-or-later
#include "UI/PreferencesWindow.h"

#include "Model/Preferences.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>

PreferencesWindow::PreferencesWindow(Preferences* preferences, QWidget* parent)
    : QMainWindow(parent, Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                              Qt::WindowCloseButtonHint),
      m_preferences(preferences)
{
    setObjectName(QStringLiteral("PreferencesWindow"));
    setWindowTitle(tr("Brambleworth Settings"));
    setAttribute(Qt::WA_DeleteOnClose, false);
}

QString PreferencesWindow::frameKey()
{
    return QStringLiteral("NSWindow Frame PreferencesWindow");
}

QString PreferencesWindow::frameString() const
{
    const QRect frame = geometry();
    const QScreen* current = screen() ? screen() : QGuiApplication::primaryScreen();
    const QRect area = current ? current->availableGeometry() : QRect();
    return QStringLiteral("%1 %2 %3 %4 %5 %6 %7 %8")
        .arg(frame.x())
        .arg(frame.y())
        .arg(frame.width())
        .arg(frame.height())
        .arg(area.x())
        .arg(area.y())
        .arg(area.width())
        .arg(area.height());
}

bool PreferencesWindow::restoreFrame(const QString& frame)
{
    const QStringList fields = frame.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (fields.size() < 4)
        return false;
    int values[4];
    for (int i = 0; i < 4; ++i) {
        bool ok = false;
        values[i] = fields.at(i).toInt(&ok);
        if (!ok)
            return false;
    }
    const QRect rect(values[0], values[1], values[2], values[3]);
    if (rect.width() <= 0 || rect.height() <= 0)
        return false;
    bool onScreen = false;
    for (const QScreen* s : QGuiApplication::screens())
        onScreen = onScreen || s->availableGeometry().intersects(rect);
    if (!onScreen)
        return false;
    setGeometry(rect);
    return true;
}

void PreferencesWindow::saveFrame() const
{
    if (m_preferences)
        m_preferences->setValue(frameKey(), frameString());
}

void PreferencesWindow::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape && event->modifiers() == Qt::NoModifier) {
        close();
        return;
    }
    QMainWindow::keyPressEvent(event);
}

void PreferencesWindow::hideEvent(QHideEvent* event)
{
    saveFrame();
    QMainWindow::hideEvent(event);
}
