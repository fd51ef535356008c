// SPDX-License-Identifier: GPL-3.0-or-later
#include "HotKeys/AppHotKeyManager.h"

#include "HotKeys/HotKeyManager.h"
#include "Model/AppConfig.h"
#include "QuillonCommons/AppError.h"
#include "QuillonCommons/AppLogger.h"
#include "QuillonCommons/FileUtils.h"
#include "QuillonCommons/JsonReader.h"
#include "QuillonCommons/JsonWriter.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QPointer>
#include <QSet>

#include <cmath>

const QString AppHotKeyManager::fileName = QStringLiteral("HotKeys.json");

namespace {

AppError corrupted(const QString& reason)
{
    return AppError(
        QStringLiteral("The data couldn’t be read because it isn’t in the correct format."),
        reason);
}

QString string(const QJsonObject& object, const QString& key)
{
    const QJsonValue value = object.value(key);
    if (!value.isString())
        throw corrupted(QStringLiteral("No string value for key “%1”.").arg(key));
    return value.toString();
}

quint64 unsignedInteger(const QJsonObject& object, const QString& key)
{
    const QJsonValue value = object.value(key);
    if (!value.isDouble())
        throw corrupted(QStringLiteral("No number value for key “%1”.").arg(key));
    // Integers within 64 bits come back exactly; anything else went through a double.
    const qint64 integer = value.toInteger(-1);
    if (integer >= 0)
        return static_cast<quint64>(integer);
    const double number = value.toDouble();
    if (number < 0 || number >= 18446744073709551616.0 || std::trunc(number) != number)
        throw corrupted(
            QStringLiteral("Number for key “%1” does not fit an unsigned 64-bit integer.")
                .arg(key));
    return static_cast<quint64>(number);
}

} // namespace

AppHotKeyManager::AppHotKeyManager(QObject* parent) : QObject(parent)
{
    HotKeyManager::installEventHandler();
    load();
}

AppHotKeyManager::~AppHotKeyManager()
{
    HotKeyManager::unregisterAll();
    onHotKeyPressed = nullptr;
}

AppHotKeyManager* AppHotKeyManager::shared()
{
    static QPointer<AppHotKeyManager> instance;
    if (!instance)
        instance = new AppHotKeyManager;
    return instance;
}

std::optional<RegisteredHotKey> AppHotKeyManager::registeredHotKey(const QString& id) const
{
    for (const RegisteredHotKey& hotKey : m_registeredHotKeys) {
        if (hotKey.id == id)
            return hotKey;
    }
    return std::nullopt;
}

QByteArray AppHotKeyManager::encode(const QList<RegisteredHotKey>& hotKeys)
{
    JsonWriter writer(64 * hotKeys.size() + 2);
    writer.beginArray();
    for (const RegisteredHotKey& hotKey : hotKeys) {
        writer.beginObject();
        writer.key(u"id");
        writer.string(hotKey.id);
        writer.key(u"key");
        writer.string(hotKey.key);
        writer.key(u"modifiers");
        writer.number(static_cast<std::uint64_t>(hotKey.modifiers));
        writer.endObject();
    }
    writer.endArray();
    if (!writer.ok())
        throw AppError(
            QStringLiteral("The data couldn’t be written because it isn’t in the correct format."),
            QStringLiteral("A string is not valid Unicode."));
    return writer.take();
}

QList<RegisteredHotKey> AppHotKeyManager::decode(const QByteArray& data)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(data, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        throw corrupted(parseError.errorString());
    if (!document.isArray())
        throw corrupted(QStringLiteral("Expected an array."));
    QList<RegisteredHotKey> hotKeys;
    for (const QJsonValue& element : document.array()) {
        if (!element.isObject())
            throw corrupted(QStringLiteral("Expected an object in the array."));
        const QJsonObject object = element.toObject();
        hotKeys.append(RegisteredHotKey{string(object, QStringLiteral("id")),
                                        string(object, QStringLiteral("key")),
                                        unsignedInteger(object, QStringLiteral("modifiers"))});
    }
    return hotKeys;
}

void AppHotKeyManager::load()
{
    const auto directory = AppConfig::applicationSupportDirectoryURL();
    if (!directory) {
        AppLogger::error(QStringLiteral("hotkeys file is nil"));
        return;
    }
    const QString path = *directory + QLatin1Char('/') + fileName;
    for (const QString& leftover : FileUtils::removeInterruptedSaves(path))
        AppLogger::info(QStringLiteral("removed the leftover of an interrupted save: ") + leftover);
    try {
        const auto text = JsonReader::utf8Text(FileUtils::readWholeFile(path));
        if (!text)
            throw corrupted(QStringLiteral("The text is not valid in its encoding."));
        m_registeredHotKeys = decode(*text);
        m_unreadable.loadSucceeded();
    } catch (const std::exception& failure) {
        AppLogger::error(failure, QStringLiteral("load()"), __LINE__);
        m_unreadable.loadFailed(path);
    }
}

void AppHotKeyManager::save()
{
    const auto directory = AppConfig::applicationSupportDirectoryURL();
    if (!directory) {
        AppLogger::error(QStringLiteral("hotkeys file is nil"));
        return;
    }
    try {
        if (!m_unreadable.prepareSave(QStringLiteral("save()"), __LINE__))
            return;
        FileUtils::writeAtomically(*directory + QLatin1Char('/') + fileName,
                                   encode(m_registeredHotKeys));
    } catch (const std::exception& failure) {
        AppLogger::error(failure, QStringLiteral("save()"), __LINE__);
    }
}

bool AppHotKeyManager::registerHotKey(const RegisteredHotKey& hotKey)
{
    // The registration outlives nothing it captures: a manager gone by the time of a press is
    // simply not told.
    QPointer<AppHotKeyManager> self(this);
    return HotKeyManager::registerHotKey(hotKey.id, hotKey.key, hotKey.modifiers,
                                         [self](const QString& id, HotKeyManager::State state) {
                                             if (state == HotKeyManager::State::up)
                                                 return;
                                             const QString trace = QStringLiteral("hotkey for ") +
                                                                   id +
                                                                   QStringLiteral(" is pressed");
                                             Q_UNUSED(trace)
                                             if (self && self->onHotKeyPressed)
                                                 self->onHotKeyPressed(id);
                                         });
}

void AppHotKeyManager::registerHotKeys(const QStringList& scriptIds)
{
    QSet<QString> stored;
    for (const RegisteredHotKey& hotKey : std::as_const(m_registeredHotKeys))
        stored.insert(hotKey.id);
    const QSet<QString> existing =
        QSet<QString>(scriptIds.begin(), scriptIds.end()).intersect(stored);
    // A copy: a handler run during registration must not pull the list from under the loop.
    const QList<RegisteredHotKey> hotKeys = m_registeredHotKeys;
    for (const RegisteredHotKey& hotKey : hotKeys) {
        if (existing.contains(hotKey.id))
            registerHotKey(hotKey);
    }
}

void AppHotKeyManager::add(const QString& id, const QString& key, ModifierFlags modifiers)
{
    if (registeredHotKey(id))
        return;
    if (HotKeyManager::hotKeyData(id))
        return;
    const RegisteredHotKey hotKey{id, key, modifiers};
    if (!registerHotKey(hotKey))
        return;
    m_registeredHotKeys.append(hotKey);
    save();
}

std::optional<RegisteredHotKey> AppHotKeyManager::update(const QString& id, const QString& key,
                                                         ModifierFlags modifiers)
{
    HotKeyManager::unregister(id);
    removeRecords(id);
    save();
    add(id, key, modifiers);
    return registeredHotKey(id);
}

void AppHotKeyManager::remove(const QString& id)
{
    HotKeyManager::unregister(id);
    removeRecords(id);
    save();
}

void AppHotKeyManager::removeRecords(const QString& id)
{
    m_registeredHotKeys.removeIf([&](const RegisteredHotKey& hotKey) { return hotKey.id == id; });
}
