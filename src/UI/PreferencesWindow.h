// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMainWindow>
#include <QPointer>

class Preferences;

// The preferences window: titled and closable only. Escape hides it, and its frame is kept
// in the preferences store between runs.
class PreferencesWindow : public QMainWindow
{
    Q_OBJECT
public:
    explicit PreferencesWindow(Preferences* preferences, QWidget* parent = nullptr);

    static QString frameKey();
    // "x y width height screenX screenY screenWidth screenHeight", the form window frames
    // have always been kept in.
    QString frameString() const;
    // Answers false when the text is not a frame or lies off every screen.
    bool restoreFrame(const QString& frame);
    void saveFrame() const;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QPointer<Preferences> m_preferences;
};
