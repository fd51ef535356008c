// SPDX-License-Identifier: GPL-3.0-or-later
#include "UI/MainWindow.h"

#include "Model/Preferences.h"
#include "QuillonCommons/AppLogger.h"
#include "platform/linux/WindowPinning.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QScreen>

MainWindow::MainWindow(Preferences& preferences, QWidget* parent)
    : QMainWindow(parent), m_preferences(&preferences)
{
    setObjectName(QStringLiteral("MainWindow"));
    setWindowTitle(QStringLiteral("Brambleworth"));
    resize(defaultSize());
    restoreFrame();
    m_observer = std::make_unique<UserDefaultChangesObserver>(
        preferences, Preferences::key(Preferences::Identifier::mainWindowIsPinned),
        [this](UserDefaultChangesObserver&) { applyPinState(); });
    applyPinState();
}

MainWindow::~MainWindow() = default;

bool MainWindow::isPinned() const
{
    return m_preferences && m_preferences->boolean(Preferences::Identifier::mainWindowIsPinned);
}

void MainWindow::applyPinState()
{
    WindowPinning::apply(this, isPinned());
    AppLogger::debug(QStringLiteral("window behaviors changed"));
}

QString MainWindow::frameDescriptor(const QRect& frame, const QRect& screen)
{
    return QStringLiteral("%1 %2 %3 %4 %5 %6 %7 %8 ")
        .arg(frame.x())
        .arg(frame.y())
        .arg(frame.width())
        .arg(frame.height())
        .arg(screen.x())
        .arg(screen.y())
        .arg(screen.width())
        .arg(screen.height());
}

std::optional<QRect> MainWindow::parseFrameDescriptor(const QString& text)
{
    const QStringList parts = text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (parts.size() < 4)
        return std::nullopt;
    int numbers[4];
    for (int i = 0; i < 4; ++i) {
        bool ok = false;
        // macOS writes whole numbers, but a fractional one is still a frame.
        numbers[i] = qRound(parts[i].toDouble(&ok));
        if (!ok)
            return std::nullopt;
    }
    if (numbers[2] <= 0 || numbers[3] <= 0)
        return std::nullopt;
    return QRect(numbers[0], numbers[1], numbers[2], numbers[3]);
}

void MainWindow::saveFrame()
{
    if (!m_preferences)
        return;
    const QScreen* current = screen() ? screen() : QGuiApplication::primaryScreen();
    const QRect screenRect = current ? current->availableGeometry() : QRect();
    const QString descriptor = frameDescriptor(geometry(), screenRect);
    if (m_preferences->string(frameKey()) != descriptor)
        m_preferences->setValue(frameKey(), descriptor);
}

void MainWindow::restoreFrame()
{
    if (!m_preferences)
        return;
    const std::optional<QRect> frame = parseFrameDescriptor(m_preferences->string(frameKey()));
    if (!frame)
        return;
    // A frame saved on a screen that is gone would put the window out of reach.
    for (const QScreen* screen : QGuiApplication::screens()) {
        if (screen->availableGeometry().intersects(*frame)) {
            setGeometry(*frame);
            return;
        }
    }
    resize(frame->size());
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    saveFrame();
    event->ignore();
    hide();
}

void MainWindow::showEvent(QShowEvent* event)
{
    QMainWindow::showEvent(event);
    // The desktop hints need the native window, which exists only now the first time.
    if (isPinned())
        WindowPinning::apply(this, true);
}

void MainWindow::hideEvent(QHideEvent* event)
{
    saveFrame();
    QMainWindow::hideEvent(event);
}
