// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QIcon>
#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

class QMenu;
class QSystemTrayIcon;

// The tray icon with its menu. The live icon exists only between show() and remove(); the
// configuration (title, image, action, menu, behaviour flags) is applied to it on show().
class StatusItem : public QObject
{
    Q_OBJECT
public:
    // The removal behaviours a panel may offer; kept as flags for the owner to consult.
    enum Behavior
    {
        removalAllowed = 2,
        terminationOnRemoval = 4,
    };

    explicit StatusItem(QObject* parent = nullptr);
    ~StatusItem() override;

    std::optional<QString> title;
    std::optional<QIcon> image;
    // Called on activation (a left click where the tray host lets the application decide).
    std::function<void()> action;
    QPointer<QMenu> menu;
    bool quitApplicationOnRemove = false;
    bool removeAllowed = false;

    QSystemTrayIcon* statusItem() const { return m_statusItem.get(); }
    int behavior() const;

    void show();
    void hide();
    void remove();

private:
    void applyConfiguration();

    std::unique_ptr<QSystemTrayIcon> m_statusItem;
};
