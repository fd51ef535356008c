// SPDX-License-Identifier: GPL-3.0-or-later
#include "HotKeys/TQHotKeyField.h"

#include "HotKeys/AppHotKeyManager.h"
#include "HotKeys/KeyboardLayout.h"
#include "HotKeys/TQHotKeyFieldDelegate.h"
#include "platform/x11/X11KeyCodes.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QHash>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QStyleOptionFrame>
#include <QToolButton>

namespace {

// Keys by their place on a US keyboard, for key events that carry no X keycode (synthetic
// ones, other platforms).
// clang-format off
const QHash<int, quint16>& qtKeyCodes()
{
    static const QHash<int, quint16> table{
        {Qt::Key_A, 0x00}, {Qt::Key_S, 0x01}, {Qt::Key_D, 0x02}, {Qt::Key_F, 0x03},
        {Qt::Key_H, 0x04}, {Qt::Key_G, 0x05}, {Qt::Key_Z, 0x06}, {Qt::Key_X, 0x07},
        {Qt::Key_C, 0x08}, {Qt::Key_V, 0x09}, {Qt::Key_B, 0x0B}, {Qt::Key_Q, 0x0C},
        {Qt::Key_W, 0x0D}, {Qt::Key_E, 0x0E}, {Qt::Key_R, 0x0F}, {Qt::Key_Y, 0x10},
        {Qt::Key_T, 0x11}, {Qt::Key_1, 0x12}, {Qt::Key_2, 0x13}, {Qt::Key_3, 0x14},
        {Qt::Key_4, 0x15}, {Qt::Key_6, 0x16}, {Qt::Key_5, 0x17}, {Qt::Key_Equal, 0x18},
        {Qt::Key_9, 0x19}, {Qt::Key_7, 0x1A}, {Qt::Key_Minus, 0x1B}, {Qt::Key_8, 0x1C},
        {Qt::Key_0, 0x1D}, {Qt::Key_BracketRight, 0x1E}, {Qt::Key_O, 0x1F}, {Qt::Key_U, 0x20},
        {Qt::Key_BracketLeft, 0x21}, {Qt::Key_I, 0x22}, {Qt::Key_P, 0x23}, {Qt::Key_L, 0x25},
        {Qt::Key_J, 0x26}, {Qt::Key_Apostrophe, 0x27}, {Qt::Key_K, 0x28},
        {Qt::Key_Semicolon, 0x29}, {Qt::Key_Backslash, 0x2A}, {Qt::Key_Comma, 0x2B},
        {Qt::Key_Slash, 0x2C}, {Qt::Key_N, 0x2D}, {Qt::Key_M, 0x2E}, {Qt::Key_Period, 0x2F},
        {Qt::Key_QuoteLeft, 0x32},
        {Qt::Key_Return, 36}, {Qt::Key_Enter, 36}, {Qt::Key_Tab, 48}, {Qt::Key_Space, 49},
        {Qt::Key_Backspace, 51}, {Qt::Key_Escape, 53}, {Qt::Key_CapsLock, 57},
        {Qt::Key_F1, 122}, {Qt::Key_F2, 120}, {Qt::Key_F3, 99}, {Qt::Key_F4, 118},
        {Qt::Key_F5, 96}, {Qt::Key_F6, 97}, {Qt::Key_F7, 98}, {Qt::Key_F8, 100},
        {Qt::Key_F9, 101}, {Qt::Key_F10, 109}, {Qt::Key_F11, 103}, {Qt::Key_F12, 111},
        {Qt::Key_F13, 105}, {Qt::Key_F14, 107}, {Qt::Key_F15, 113}, {Qt::Key_F16, 106},
        {Qt::Key_F17, 64}, {Qt::Key_F18, 79}, {Qt::Key_F19, 80}, {Qt::Key_F20, 90},
        {Qt::Key_Home, 115}, {Qt::Key_PageUp, 116}, {Qt::Key_Delete, 117}, {Qt::Key_End, 119},
        {Qt::Key_PageDown, 121}, {Qt::Key_Left, 123}, {Qt::Key_Right, 124},
        {Qt::Key_Down, 125}, {Qt::Key_Up, 126}, {Qt::Key_Help, 114},
        {Qt::Key_VolumeUp, 72}, {Qt::Key_VolumeDown, 73}, {Qt::Key_VolumeMute, 74},
    };
    return table;
}

// The Linux names of the keys that the label shows as symbols.
const QHash<QString, QString>& linuxKeyNames()
{
    static const QHash<QString, QString> names{
        {"↩", "Return"}, {"⇥", "Tab"}, {"␣", "Space"}, {"⌫", "Backspace"},
        {"⎋", "Escape"}, {"⌦", "Delete"}, {"↖", "Home"}, {"↘", "End"},
        {"⇞", "Page Up"}, {"⇟", "Page Down"}, {"←", "Left"}, {"→", "Right"},
        {"↑", "Up"}, {"↓", "Down"}, {"⌘", "Super"}, {"⇧", "Shift"}, {"⌥", "Alt"},
        {"⌃", "Ctrl"},
    };
    return names;
}
// clang-format on

std::optional<quint16> virtualKeyCode(const QKeyEvent& event)
{
    if (event.nativeScanCode() > 0 && event.nativeScanCode() < 256 &&
        QGuiApplication::platformName() == QLatin1String("xcb")) {
        if (const auto code = X11KeyCodes::virtualKeyCode(quint8(event.nativeScanCode())))
            return code;
    }
    const auto found = qtKeyCodes().constFind(event.key());
    if (found == qtKeyCodes().constEnd())
        return std::nullopt;
    return *found;
}

ModifierFlags flagsOf(Qt::KeyboardModifiers modifiers)
{
    ModifierFlags flags = 0;
    if (modifiers & Qt::ControlModifier)
        flags |= ModifierFlag::control;
    if (modifiers & Qt::ShiftModifier)
        flags |= ModifierFlag::shift;
    if (modifiers & Qt::AltModifier)
        flags |= ModifierFlag::option;
    // Qt calls the Super key Meta on X11.
    if (modifiers & Qt::MetaModifier)
        flags |= ModifierFlag::command;
    return flags;
}

// The flag a modifier key sets by itself; 0 for every other key. Caps lock is left out: the
// grabs ignore it anyway.
ModifierFlags flagOfKey(int key)
{
    switch (key) {
    case Qt::Key_Control:
        return ModifierFlag::control;
    case Qt::Key_Shift:
        return ModifierFlag::shift;
    case Qt::Key_Alt:
    case Qt::Key_AltGr:
        return ModifierFlag::option;
    case Qt::Key_Meta:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
        return ModifierFlag::command;
    default:
        return 0;
    }
}

bool isLockOrHyperKey(int key)
{
    return key == Qt::Key_CapsLock || key == Qt::Key_NumLock || key == Qt::Key_ScrollLock ||
           key == Qt::Key_Hyper_L || key == Qt::Key_Hyper_R;
}

QIcon resetIcon()
{
    return QIcon::fromTheme(QStringLiteral("edit-clear"),
                            QIcon(QStringLiteral(":/brambleworth/hotkeys/icons/edit-clear.svg")));
}

} // namespace

TQHotKeyField::TQHotKeyField(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("hotKeyField"));
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    setAccessibleName(tr("Hot key"));

    m_textField = new QLabel(this);
    m_textField->setObjectName(QStringLiteral("textField"));
    m_textField->setAlignment(Qt::AlignCenter);
    m_textField->setTextInteractionFlags(Qt::NoTextInteraction);
    // A click on the label is a click on the field.
    m_textField->setAttribute(Qt::WA_TransparentForMouseEvents);

    m_resetButton = new QToolButton(this);
    m_resetButton->setObjectName(QStringLiteral("resetButton"));
    m_resetButton->setAutoRaise(true);
    m_resetButton->setIcon(resetIcon());
    m_resetButton->setIconSize(QSize(14, 14));
    m_resetButton->setFixedSize(20, 20);
    m_resetButton->setFocusPolicy(Qt::TabFocus);
    m_resetButton->setAccessibleName(tr("Remove hot key"));
    m_resetButton->setToolTip(tr("Remove the hot key"));
    connect(m_resetButton, &QToolButton::clicked, this, &TQHotKeyField::resetHotKey);

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(5, 5, 5, 5);
    layout->setSpacing(5);
    layout->addWidget(m_textField, 1, Qt::AlignVCenter);
    layout->addWidget(m_resetButton, 0, Qt::AlignVCenter);

    connect(qApp, &QGuiApplication::applicationStateChanged, this,
            [this](Qt::ApplicationState state) {
                // Leaving the application is a cancel, as Escape.
                if (state != Qt::ApplicationActive)
                    cancelRecording();
            });
    refresh();
}

TQHotKeyField::~TQHotKeyField()
{
    holdKeyboard(false);
}

void TQHotKeyField::setDelegate(TQHotKeyFieldDelegate* delegate)
{
    m_delegate = delegate;
    m_delegateObject = dynamic_cast<QObject*>(delegate);
    m_delegateIsObject = m_delegateObject != nullptr;
}

TQHotKeyFieldDelegate* TQHotKeyField::delegate() const
{
    if (m_delegateIsObject && !m_delegateObject)
        return nullptr;
    return m_delegate;
}

void TQHotKeyField::setHotKeyManager(AppHotKeyManager* manager)
{
    m_hotKeyManager = manager;
}

void TQHotKeyField::setKeyboardLayout(const KeyboardLayout* layout)
{
    m_keyboardLayout = layout;
}

void TQHotKeyField::setModifiers(ModifierFlags modifiers)
{
    m_modifiers = modifiers;
    m_refusal.clear();
    refresh();
}

void TQHotKeyField::setKey(const QString& key)
{
    m_key = key;
    m_refusal.clear();
    refresh();
}

QString TQHotKeyField::labelText(ModifierFlags modifiers, const QString& key, bool recording)
{
    QString text;
    if (modifiers & ModifierFlag::control)
        text += QStringLiteral("⌃");
    if (modifiers & ModifierFlag::shift)
        text += QStringLiteral("⇧");
    if (modifiers & ModifierFlag::option)
        text += QStringLiteral("⌥");
    if (modifiers & ModifierFlag::command)
        text += QStringLiteral("⌘");
    if (!key.isEmpty())
        text += QLatin1Char(' ') + key.toUpper();
    if (text.isEmpty())
        return recording ? QStringLiteral("???") : tr("HotKey");
    return text;
}

QString TQHotKeyField::shortcutText(ModifierFlags modifiers, const QString& key)
{
    QStringList parts;
    if (modifiers & ModifierFlag::control)
        parts << QStringLiteral("Ctrl");
    if (modifiers & ModifierFlag::shift)
        parts << QStringLiteral("Shift");
    if (modifiers & ModifierFlag::option)
        parts << QStringLiteral("Alt");
    if (modifiers & ModifierFlag::command)
        parts << QStringLiteral("Super");
    if (!key.isEmpty())
        parts << linuxKeyNames().value(key, key.toUpper());
    return parts.join(QLatin1Char('+'));
}

QSize TQHotKeyField::sizeHint() const
{
    // As wide as the label needs, at least 100, and as high as a line edit.
    QLineEdit probe;
    const int labelWidth = m_textField->sizeHint().width() + 5 + 20 + 3 * 5;
    return QSize(qMax(100, labelWidth), qMax(probe.sizeHint().height(), 20 + 2 * 5));
}

QSize TQHotKeyField::minimumSizeHint() const
{
    return QSize(100, sizeHint().height());
}

void TQHotKeyField::refresh()
{
    m_textField->setText(labelText(m_modifiers, m_key, m_isRecording));
    const QString shortcut = shortcutText(m_modifiers, m_key);
    QString tip;
    if (m_isRecording)
        tip = tr("Press the new shortcut, or Escape to cancel");
    else if (!m_refusal.isEmpty())
        tip = m_refusal;
    else if (!shortcut.isEmpty())
        tip = shortcut;
    else
        tip = tr("No hot key: click to record one");
    setToolTip(tip);
    setAccessibleDescription(tip);
    updateGeometry();
    update();
}

void TQHotKeyField::startRecording()
{
    if (!isEnabled() || m_isRecording)
        return;
    m_savedModifiers = m_modifiers;
    m_savedKey = m_key;
    m_resetButton->setEnabled(false);
    m_isRecording = true;
    m_refusal.clear();
    m_modifiers = 0;
    refresh();
    m_key.clear();
    refresh();
    // The old shortcut goes first, so that pressing it again is recorded, not run.
    if (TQHotKeyFieldDelegate* host = delegate())
        host->removeHotKey();
    holdKeyboard(true);
    emit recordingChanged(true);
}

void TQHotKeyField::cancelRecording()
{
    if (!m_isRecording)
        return;
    m_modifiers = m_savedModifiers;
    m_key = m_savedKey;
    finishRecording(true);
}

void TQHotKeyField::finishRecording(bool cancelled)
{
    holdKeyboard(false);
    m_resetButton->setEnabled(true);
    m_isRecording = false;
    if (hasFocus())
        clearFocus();
    refresh();
    // The old combination is shown again but stays removed: a cancel does not put it back.
    if (!cancelled)
        assign();
    emit recordingChanged(false);
}

void TQHotKeyField::assign()
{
    TQHotKeyFieldDelegate* host = delegate();
    if (!host)
        return;
    std::optional<RegisteredHotKey> assigned;
    if (m_hotKeyManager)
        assigned = m_hotKeyManager->update(host->editedScriptId(), m_key, m_modifiers);
    if (assigned) {
        host->setScriptHotKeyInfos(HotKeyInfos::from(*assigned));
        return;
    }
    host->setScriptHotKeyInfos(std::nullopt);
    // Not a shortcut that silently does nothing: show that it did not take, and why.
    const QString shortcut = shortcutText(m_modifiers, m_key);
    const bool typeable = m_keyboardLayout && m_keyboardLayout->keyCodesMapping().contains(m_key);
    const QString refusal = typeable ? tr("%1 is already taken by another program. Click to record "
                                          "another shortcut.")
                                           .arg(shortcut)
                                     : tr("%1 cannot be used with the current keyboard layout. "
                                          "Click to record another shortcut.")
                                           .arg(shortcut);
    m_modifiers = 0;
    m_key.clear();
    m_refusal = refusal;
    refresh();
}

void TQHotKeyField::resetHotKey()
{
    m_refusal.clear();
    m_modifiers = 0;
    refresh();
    m_key.clear();
    refresh();
    if (TQHotKeyFieldDelegate* host = delegate())
        host->removeHotKey();
}

void TQHotKeyField::holdKeyboard(bool hold)
{
    if (hold == m_holdsKeyboard)
        return;
    m_holdsKeyboard = hold;
    if (hold) {
        setFocus(Qt::OtherFocusReason);
        grabKeyboard();
        // Clicks anywhere in the application do nothing until the recording ends.
        qApp->installEventFilter(this);
    } else {
        releaseKeyboard();
        qApp->removeEventFilter(this);
    }
}

void TQHotKeyField::recordKeyEvent(QKeyEvent* event)
{
    const int key = event->key();
    const ModifierFlags flags = flagsOf(event->modifiers());
    if (const ModifierFlags own = flagOfKey(key)) {
        // The modifiers as they are after this key: X reports them as they were before it.
        m_modifiers = event->type() == QEvent::KeyPress ? (flags | own) : (flags & ~own);
        refresh();
        return;
    }
    if (event->type() != QEvent::KeyPress || isLockOrHyperKey(key))
        return;
    if (key == Qt::Key_Escape) {
        cancelRecording();
        return;
    }
    const auto code = virtualKeyCode(*event);
    if (!code || !m_keyboardLayout)
        return;
    const auto string = m_keyboardLayout->string(*code, 0);
    // A key the layout cannot name without modifiers cannot be looked up again at
    // registration: wait for another.
    if (!string)
        return;
    m_keyCode = *code;
    m_modifiers = flags;
    m_key = *string;
    finishRecording(false);
}

bool TQHotKeyField::event(QEvent* event)
{
    if (m_isRecording) {
        switch (event->type()) {
        case QEvent::ShortcutOverride:
            // Every key is the field's while it records: no shortcut, no focus change.
            event->accept();
            return true;
        case QEvent::KeyPress:
        case QEvent::KeyRelease:
            recordKeyEvent(static_cast<QKeyEvent*>(event));
            return true;
        default:
            break;
        }
    }
    return QWidget::event(event);
}

bool TQHotKeyField::eventFilter(QObject* watched, QEvent* event)
{
    if (m_isRecording) {
        switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonRelease:
        case QEvent::MouseButtonDblClick:
            return true;
        default:
            break;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void TQHotKeyField::mousePressEvent(QMouseEvent* event)
{
    if (!isEnabled()) {
        QWidget::mousePressEvent(event);
        return;
    }
    startRecording();
}

void TQHotKeyField::keyPressEvent(QKeyEvent* event)
{
    // The keyboard's way to click the field.
    if (event->key() == Qt::Key_Space || event->key() == Qt::Key_Return ||
        event->key() == Qt::Key_Enter) {
        startRecording();
        return;
    }
    QWidget::keyPressEvent(event);
}

void TQHotKeyField::paintEvent(QPaintEvent*)
{
    // The bezel of a line edit, so the field reads as something to click and type into.
    QPainter painter(this);
    QStyleOptionFrame option;
    option.initFrom(this);
    option.lineWidth = style()->pixelMetric(QStyle::PM_DefaultFrameWidth, &option, this);
    option.midLineWidth = 0;
    option.state |= QStyle::State_Sunken;
    if (m_isRecording)
        option.state |= QStyle::State_HasFocus;
    style()->drawPrimitive(QStyle::PE_PanelLineEdit, &option, &painter, this);
}

void TQHotKeyField::hideEvent(QHideEvent* event)
{
    cancelRecording();
    QWidget::hideEvent(event);
}

void TQHotKeyField::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::EnabledChange && !isEnabled())
        cancelRecording();
    QWidget::changeEvent(event);
}
