// SPDX-License-Identifier: GPL-3.0-or-later
#include "HotKeys/KeyboardLayout.h"

#include "HotKeys/IndependentKey.h"
#include "HotKeys/KeyboardLayoutSource.h"
#include "QuillonCommons/AppLogger.h"

const QString KeyboardLayout::selectedKeyboardInputSourceChanged =
    QStringLiteral("SelectedKeyboardInputSourceChanged");

namespace {

// Stands in until a real source is set: a layout without any data.
class NoLayoutSource : public KeyboardLayoutSource
{
public:
    bool hasLayoutData() const override { return false; }
    std::optional<QString> string(quint16, quint32) const override { return std::nullopt; }
};

std::unique_ptr<KeyboardLayoutSource> orNoLayout(std::unique_ptr<KeyboardLayoutSource> source)
{
    if (source)
        return source;
    return std::make_unique<NoLayoutSource>();
}

} // namespace

KeyboardLayout::KeyboardLayout(std::unique_ptr<KeyboardLayoutSource> source)
{
    // Without a source there is nothing to read yet, which is no error: the platform layer
    // sets one at start-up, and the shared instance exists before it does.
    const bool waiting = !source;
    m_source = orNoLayout(std::move(source));
    if (!waiting)
        buildMapping();
    m_distributedNotificationsObserver.observe(
        selectedKeyboardInputSourceChanged, {}, nullptr, [this](const Notification&) {
            AppLogger::debug(QStringLiteral("Keyboard layout changed"));
            buildMapping();
        });
}

KeyboardLayout::~KeyboardLayout() = default;

KeyboardLayout& KeyboardLayout::shared()
{
    static KeyboardLayout* instance = new KeyboardLayout;
    return *instance;
}

void KeyboardLayout::setLayoutSource(std::unique_ptr<KeyboardLayoutSource> source)
{
    m_source = orNoLayout(std::move(source));
    buildMapping();
}

std::optional<QString> KeyboardLayout::translate(quint16 keyCode,
                                                 const KeyboardLayoutSource& layout,
                                                 ModifierFlags modifiers)
{
    if (const auto independent = IndependentKeys::fromKeyCode(keyCode))
        return IndependentKeys::displayString(*independent);
    return layout.string(keyCode, CarbonModifier::fromFlags(modifiers));
}

std::optional<QString> KeyboardLayout::string(quint16 keyCode, ModifierFlags modifiers) const
{
    if (!m_source->hasLayoutData()) {
        AppLogger::error(QStringLiteral("unable to get layout data"));
        return std::nullopt;
    }
    return translate(keyCode, *m_source, modifiers);
}

void KeyboardLayout::buildMapping()
{
    m_keyCodesMapping.clear();
    const KeyboardLayoutSource* source = m_source.get();
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
