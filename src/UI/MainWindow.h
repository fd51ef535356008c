// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "App/UserDefaultChangesObserver.h"

#include <QMainWindow>
#include <QPointer>

#include <memory>

class Preferences;

// The scripts window. Pinned ("MainWindowIsPinned") it stays above other windows and on every
// desktop; the state is applied again whenever the preference changes, whoever changed it.
// Closing it only hides it; its frame is kept under "NSWindow Frame MainWindow".
class MainWindow : public QMainWindow
{
    Q_OBJECT
public:
    static QString frameKey() { return QStringLiteral("NSWindow Frame MainWindow"); }
    static QSize defaultSize() { return {960, 640}; }

    explicit MainWindow(Preferences& preferences, QWidget* parent = nullptr);
    ~MainWindow() override;

    bool isPinned() const;
    void applyPinState();

    // The frame as macOS writes it ("x y width height" then the screen's "x y width height"),
    // y counted from the top here.
    static QString frameDescriptor(const QRect& frame, const QRect& screen);
    static std::optional<QRect> parseFrameDescriptor(const QString& text);
    void saveFrame();
    void restoreFrame();

protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QPointer<Preferences> m_preferences;
    std::unique_ptr<UserDefaultChangesObserver> m_observer;
};
