// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "HotKeys/ModifierFlags.h"

#include <QPointer>
#include <QString>
#include <QWidget>

class AppHotKeyManager;
class KeyboardLayout;
class QKeyEvent;
class QLabel;
class QToolButton;
class TQHotKeyFieldDelegate;

// Shows a script's global hot key and records a new one: a click (or Space while it has the
// focus) starts a recording, the next key with its modifiers ends it, Escape or leaving the
// application cancels it. While it records, the field holds the keyboard, so a combination
// that the desktop or another program has bound still reaches it. The result goes through
// AppHotKeyManager::update; the host pane learns of it through its delegate.
class TQHotKeyField : public QWidget
{
    Q_OBJECT
public:
    explicit TQHotKeyField(QWidget* parent = nullptr);
    ~TQHotKeyField() override;

    // Not owned; a delegate that is also a QObject is forgotten when it goes away.
    void setDelegate(TQHotKeyFieldDelegate* delegate);
    TQHotKeyFieldDelegate* delegate() const;
    // Where recorded combinations are assigned, and the layout that names a pressed key.
    void setHotKeyManager(AppHotKeyManager* manager);
    void setKeyboardLayout(const KeyboardLayout* layout);

    bool isRecording() const { return m_isRecording; }
    ModifierFlags modifiers() const { return m_modifiers; }
    void setModifiers(ModifierFlags modifiers);
    // The virtual key code of the last key recorded.
    quint16 keyCode() const { return m_keyCode; }
    QString key() const { return m_key; }
    void setKey(const QString& key);

    QLabel* textField() const { return m_textField; }
    QToolButton* resetButton() const { return m_resetButton; }

    // "⌃⇧⌥⌘", a blank and the key in upper case; "???" while recording, else "HotKey".
    static QString labelText(ModifierFlags modifiers, const QString& key, bool recording);
    // The same shortcut as Linux desktops write it: "Ctrl+Shift+Super+K".
    static QString shortcutText(ModifierFlags modifiers, const QString& key);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

public slots:
    void startRecording();
    void cancelRecording();
    void resetHotKey();

signals:
    void recordingChanged(bool recording);

protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void refresh();
    void recordKeyEvent(QKeyEvent* event);
    void finishRecording(bool cancelled);
    void assign();
    void holdKeyboard(bool hold);

    QPointer<QObject> m_delegateObject;
    TQHotKeyFieldDelegate* m_delegate = nullptr;
    bool m_delegateIsObject = false;
    QPointer<AppHotKeyManager> m_hotKeyManager;
    const KeyboardLayout* m_keyboardLayout = nullptr;

    bool m_isRecording = false;
    ModifierFlags m_modifiers = 0;
    quint16 m_keyCode = 0;
    QString m_key;
    // What the field showed before the recording, for a cancel.
    ModifierFlags m_savedModifiers = 0;
    QString m_savedKey;
    // Why the last recorded combination did not take, until the next change.
    QString m_refusal;
    bool m_holdsKeyboard = false;

    QLabel* m_textField = nullptr;
    QToolButton* m_resetButton = nullptr;
};
