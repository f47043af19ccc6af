#include "platform/xaml/Types.h"

#include <algorithm>
#include <iterator>

namespace platform {

namespace {

struct NamedKey {
    VirtualKey key;
    std::u16string_view name;
};

constexpr NamedKey kKeys[] = {
    {VirtualKey::None, u"None"},       {VirtualKey::Tab, u"Tab"},
    {VirtualKey::Enter, u"Enter"},     {VirtualKey::Shift, u"Shift"},
    {VirtualKey::Control, u"Control"}, {VirtualKey::Menu, u"Menu"},
    {VirtualKey::Escape, u"Escape"},   {VirtualKey::Space, u"Space"},
    {VirtualKey::End, u"End"},         {VirtualKey::Home, u"Home"},
    {VirtualKey::Left, u"Left"},       {VirtualKey::Up, u"Up"},
    {VirtualKey::Right, u"Right"},     {VirtualKey::Down, u"Down"},
    {VirtualKey::Insert, u"Insert"},   {VirtualKey::Application, u"Application"},
    {VirtualKey::F1, u"F1"},           {VirtualKey::F5, u"F5"},
    {VirtualKey::F10, u"F10"},         {VirtualKey::GoBack, u"GoBack"},
    {VirtualKey::QuestionMark, u"?"},
};
constexpr std::u16string_view kLetters = u"ABCDEFGHIJKLMNOPQRSTUVWXYZ";

}  // namespace

std::u16string_view NameOf(VirtualKey key) {
    const auto letter = static_cast<std::uint32_t>(key) - kLetters.front();
    if (letter < kLetters.size()) {
        return kLetters.substr(letter, 1);
    }
    const auto* const found = std::find_if(std::begin(kKeys), std::end(kKeys),
                                           [key](const NamedKey& each) { return each.key == key; });
    return found == std::end(kKeys) ? std::u16string_view{} : found->name;
}

VirtualKey KeyOf(std::u16string_view name) {
    if (name.size() == 1 && kLetters.find(name) != std::u16string_view::npos) {
        return static_cast<VirtualKey>(name.front());
    }
    const auto* const found = std::find_if(std::begin(kKeys), std::end(kKeys),
                                           [name](const NamedKey& each) { return each.name == name; });
    return found == std::end(kKeys) ? VirtualKey::None : found->key;
}

}  // namespace platform
