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
    {VirtualKey::None, u"None"},     {VirtualKey::Tab, u"Tab"},     {VirtualKey::Enter, u"Enter"},
    {VirtualKey::Escape, u"Escape"}, {VirtualKey::Space, u"Space"}, {VirtualKey::Left, u"Left"},
    {VirtualKey::Up, u"Up"},         {VirtualKey::Right, u"Right"}, {VirtualKey::Down, u"Down"},
    {VirtualKey::A, u"A"},           {VirtualKey::C, u"C"},
};

}  // namespace

std::u16string_view NameOf(VirtualKey key) {
    const auto* const found = std::find_if(std::begin(kKeys), std::end(kKeys),
                                           [key](const NamedKey& each) { return each.key == key; });
    return found == std::end(kKeys) ? std::u16string_view{} : found->name;
}

}  // namespace platform
