// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "HotKeys/ModifierFlags.h"
#include "HotKeys/RegisteredHotKey.h"
#include "QuillonCommons/UnreadableFileKeeper.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

// The user's hot key assignments to scripts: kept in HotKeys.json in the data folder,
// registered under the script ids, and reported through onHotKeyPressed.
class AppHotKeyManager : public QObject
{
    Q_OBJECT
public:
    static const QString fileName;

    // Installs the key event handler, then loads the stored assignments.
    explicit AppHotKeyManager(QObject* parent = nullptr);
    // Unregisters every hot key and removes the event handler.
    ~AppHotKeyManager() override;

    // The instance of the application, created on first use.
    static AppHotKeyManager* shared();

    std::function<void(const QString& scriptId)> onHotKeyPressed;

    const QList<RegisteredHotKey>& registeredHotKeys() const { return m_registeredHotKeys; }
    std::optional<RegisteredHotKey> registeredHotKey(const QString& id) const;

    void load();
    void save();

    // Registers the stored assignments of the scripts that still exist; the others stay stored.
    void registerHotKeys(const QStringList& scriptIds);
    void add(const QString& id, const QString& key, ModifierFlags modifiers);
    // Whatever the script had is dropped first, and stays dropped if the new combination
    // cannot be registered.
    std::optional<RegisteredHotKey> update(const QString& id, const QString& key,
                                           ModifierFlags modifiers);
    void remove(const QString& id);

    // The file's content for a list, and a list from a file's content; both throw AppError.
    static QByteArray encode(const QList<RegisteredHotKey>& hotKeys);
    static QList<RegisteredHotKey> decode(const QByteArray& data);

private:
    bool registerHotKey(const RegisteredHotKey& hotKey);
    void removeRecords(const QString& id);

    QList<RegisteredHotKey> m_registeredHotKeys;
    UnreadableFileKeeper m_unreadable;
};
