#include "backends/desktop/Keys.h"

#include <algorithm>
#include <iterator>

namespace desktop {

namespace {

struct Key {
    guint value;
    std::uint32_t number;
};

constexpr Key kKeys[] = {
    {GDK_KEY_BackSpace, 8},  {GDK_KEY_Tab, 9},      {GDK_KEY_ISO_Left_Tab, 9}, {GDK_KEY_Return, 13},
    {GDK_KEY_KP_Enter, 13},  {GDK_KEY_Shift_L, 16}, {GDK_KEY_Shift_R, 16},     {GDK_KEY_Control_L, 17},
    {GDK_KEY_Control_R, 17}, {GDK_KEY_Alt_L, 18},   {GDK_KEY_Alt_R, 18},       {GDK_KEY_Escape, 27},
    {GDK_KEY_space, 32},     {GDK_KEY_Page_Up, 33}, {GDK_KEY_Page_Down, 34},   {GDK_KEY_End, 35},
    {GDK_KEY_Home, 36},      {GDK_KEY_Left, 37},    {GDK_KEY_Up, 38},          {GDK_KEY_Right, 39},
    {GDK_KEY_Down, 40},      {GDK_KEY_Insert, 45},  {GDK_KEY_Delete, 46},      {GDK_KEY_Menu, 93},
};

}  // namespace

platform::VirtualKey VirtualKeyOf(guint keyValue) {
    const auto* const found = std::find_if(std::begin(kKeys), std::end(kKeys),
                                           [keyValue](const Key& key) { return key.value == keyValue; });
    if (found != std::end(kKeys)) {
        return static_cast<platform::VirtualKey>(found->number);
    }
    // Letters and digits have the number of their capital character.
    const auto upper = gdk_keyval_to_upper(keyValue);
    if ((upper >= GDK_KEY_A && upper <= GDK_KEY_Z) || (upper >= GDK_KEY_0 && upper <= GDK_KEY_9)) {
        return static_cast<platform::VirtualKey>(upper);
    }
    if (keyValue >= GDK_KEY_F1 && keyValue <= GDK_KEY_F12) {
        return static_cast<platform::VirtualKey>(112 + keyValue - GDK_KEY_F1);
    }
    return platform::VirtualKey::None;
}

platform::VirtualKeyModifiers ModifiersOf(GdkModifierType state) {
    using platform::VirtualKeyModifiers;
    auto modifiers = VirtualKeyModifiers::None;
    for (const auto& [mask, modifier] : {std::pair{GDK_CONTROL_MASK, VirtualKeyModifiers::Control},
                                         {GDK_ALT_MASK, VirtualKeyModifiers::Menu},
                                         {GDK_SHIFT_MASK, VirtualKeyModifiers::Shift},
                                         {GDK_SUPER_MASK, VirtualKeyModifiers::Windows}}) {
        if ((state & mask) != 0) {
            modifiers = modifiers | modifier;
        }
    }
    return modifiers;
}

}  // namespace desktop
