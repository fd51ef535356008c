// SPDX-License-Identifier: GPL-3.0-or-later
#include "HotKeys/KeyboardLayout.h"

#include "HotKeys/HotKeyManager.h"
#include "HotKeys/IndependentKey.h"
#include "HotKeys/KeyboardLayoutSource.h"
#include "QuillonCommons/AppLogger.h"

const QString KeyboardLayout::selectedKeyboardInputSourceChanged =
    QStringLiteral("SelectedKeyboardInputSourceChanged");

namespace {

std::unique_ptr<KeyboardLayoutSource>& installedSource()
{
    static std::unique_ptr<KeyboardLayoutSource> source;
    return source;
}

KeyboardLayout*& sharedInstance()
{
    static KeyboardLayout* instance = nullptr;
    return instance;
}

// Stands in until the platform installs a real source: a layout without any data.
class NoLayoutSource : public KeyboardLayoutSource
{
public:
    bool hasLayoutData() const override { return false; }
    std::optional<QString> string(quint16, quint32) const override { return std::nullopt; }
};

} // namespace

KeyboardLayout::KeyboardLayout()
{
    buildMapping();
    m_distributedNotificationsObserver.observe(
        selectedKeyboardInputSourceChanged, {}, nullptr, [this](const Notification&) {
            AppLogger::debug(QStringLiteral("Keyboard layout changed"));
            buildMapping();
        });
}

KeyboardLayout& KeyboardLayout::shared()
{
    // Kept for the whole process: hot key lookups may come until the very end.
    static KeyboardLayout* instance = [] {
        auto* layout = new KeyboardLayout;
        sharedInstance() = layout;
        return layout;
    }();
    return *instance;
}

void KeyboardLayout::setLayoutSource(std::unique_ptr<KeyboardLayoutSource> source)
{
    installedSource() = std::move(source);
    if (KeyboardLayout* layout = sharedInstance())
        layout->buildMapping();
}

KeyboardLayoutSource* KeyboardLayout::layoutSource()
{
    auto& source = installedSource();
    if (!source)
        source = std::make_unique<NoLayoutSource>();
    return source.get();
}

std::optional<QString> KeyboardLayout::translate(quint16 keyCode,
                                                 const KeyboardLayoutSource& layout,
                                                 ModifierFlags modifiers)
{
    if (const auto independent = IndependentKeys::fromKeyCode(keyCode))
        return IndependentKeys::displayString(*independent);
    return layout.string(keyCode, HotKeyManager::carbonModifiers(modifiers));
}

std::optional<QString> KeyboardLayout::string(quint16 keyCode, ModifierFlags modifiers) const
{
    const KeyboardLayoutSource* source = layoutSource();
    if (!source->hasLayoutData()) {
        AppLogger::error(QStringLiteral("unable to get layout data"));
        return std::nullopt;
    }
    return translate(keyCode, *source, modifiers);
}

void KeyboardLayout::buildMapping()
{
    m_keyCodesMapping.clear();
    const KeyboardLayoutSource* source = layoutSource();
    if (!source->hasLayoutData()) {
        AppLogger::error(QStringLiteral("unable to get layout data"));
        return;
    }
    QHash<QString, quint16> mapping;
    for (quint16 keyCode = 0; keyCode < 128; ++keyCode) {
        const auto string = translate(keyCode, *source, 0);
        if (!string)
            continue;
        // A string typed by two keys (a keypad digit and its main-row twin) keeps the lower code.
        if (mapping.contains(*string))
            continue;
        mapping.insert(*string, keyCode);
    }
    m_keyCodesMapping = std::move(mapping);
}
