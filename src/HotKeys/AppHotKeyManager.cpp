// SPDX-License-Identifier: GPL-3.0-or-later
#include "HotKeys/AppHotKeyManager.h"

#include "HotKeys/HotKeyManager.h"
#include "Model/AppConfig.h"
#include "QuillonCommons/AppError.h"
#include "QuillonCommons/AppLogger.h"
#include "QuillonCommons/FileUtils.h"
#include "QuillonCommons/JsonReader.h"
#include "QuillonCommons/JsonWriter.h"

#include <QPointer>
#include <QSet>

#include <charconv>
#include <cmath>

const QString AppHotKeyManager::fileName = QStringLiteral("HotKeys.json");

namespace {

AppError corrupted(const QString& reason)
{
    return AppError(
        QStringLiteral("The data couldn’t be read because it isn’t in the correct format."),
        reason);
}

void readString(JsonReader& reader, QString& value, const char* key)
{
    if (reader.peek() != JsonReader::Type::String)
        throw corrupted(QStringLiteral("No string value for key “%1”.").arg(QLatin1String(key)));
    // Fails on an escape that is half a surrogate pair: such text could never be saved again.
    reader.readString(value);
}

void readUnsignedInteger(JsonReader& reader, quint64& value, const char* key)
{
    QByteArrayView text;
    if (reader.peek() != JsonReader::Type::Number || !reader.readNumber(text))
        throw corrupted(QStringLiteral("No number value for key “%1”.").arg(QLatin1String(key)));
    // Plain digits are read exactly, all 64 bits of them; a fraction or an exponent goes
    // through a double and must still name a whole number in range.
    const auto [end, error] = std::from_chars(text.begin(), text.end(), value);
    if (end == text.end() && error == std::errc())
        return;
    const bool plainDigits = end == text.end() && error == std::errc::result_out_of_range;
    bool converted = false;
    const double number = plainDigits ? -1 : text.toDouble(&converted);
    if (!converted || number < 0 || number >= 18446744073709551616.0 ||
        std::trunc(number) != number)
        throw corrupted(
            QStringLiteral("Number for key “%1” does not fit an unsigned 64-bit integer.")
                .arg(QLatin1String(key)));
    value = static_cast<quint64>(number);
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
    JsonReader reader(data);
    if (reader.peek() != JsonReader::Type::Array)
        throw corrupted(reader.ok() ? QStringLiteral("Expected an array.") : reader.errorString());
    reader.beginArray();
    QList<RegisteredHotKey> hotKeys;
    QByteArray name;
    while (reader.nextElement()) {
        if (reader.peek() != JsonReader::Type::Object)
            throw corrupted(QStringLiteral("Expected an object in the array."));
        RegisteredHotKey hotKey;
        bool hasId = false;
        bool hasKey = false;
        bool hasModifiers = false;
        reader.beginObject();
        while (reader.ok() && reader.nextKey(name)) {
            if (name == "id") {
                readString(reader, hotKey.id, "id");
                hasId = true;
            } else if (name == "key") {
                readString(reader, hotKey.key, "key");
                hasKey = true;
            } else if (name == "modifiers") {
                readUnsignedInteger(reader, hotKey.modifiers, "modifiers");
                hasModifiers = true;
            } else {
                reader.skipValue();
            }
        }
        if (!reader.ok())
            throw corrupted(reader.errorString());
        if (!hasId || !hasKey || !hasModifiers)
            throw corrupted(QStringLiteral("No value for key “%1”.")
                                .arg(QLatin1String(!hasId    ? "id"
                                                   : !hasKey ? "key"
                                                             : "modifiers")));
        hotKeys.append(hotKey);
    }
    if (!reader.ok())
        throw corrupted(reader.errorString());
    if (!reader.atEnd())
        throw corrupted(QStringLiteral("Unexpected data after the array."));
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
