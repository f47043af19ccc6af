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
    {GDK_KEY_KP_End, 35},    {GDK_KEY_KP_Home, 36}, {GDK_KEY_KP_Left, 37},     {GDK_KEY_KP_Right, 39},
    {GDK_KEY_KP_Insert, 45}, {GDK_KEY_Back, 166},   {GDK_KEY_question, 191},
};

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

/// What the key types: `typed`, and then what it would in the user's other layouts.
std::vector<guint> ValuesOf(guint typed, guint code) {
    std::vector<guint> all{typed};
    GdkKeymapKey* places = nullptr;
    guint* values = nullptr;
    int count = 0;
    if (gdk_display_map_keycode(gdk_display_get_default(), code, &places, &values, &count) != FALSE) {
        all.insert(all.end(), values, values + count);
        g_free(places);
        g_free(values);
    }
    return all;
}

bool IsLatin(char16_t character) {
    return character < 0x250;
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

}  // namespace

platform::KeyPress KeyPressOf(guint keyValue, guint code, GdkModifierType state) {
    platform::KeyPress press{.ScanCode = code};
    for (const auto value : ValuesOf(keyValue, code)) {
        // Control and the key that has C in another of the user's layouts is Control and C.
        if (press.Key == platform::VirtualKey::None) {
            press.Key = VirtualKeyOf(value);
        }
        const auto character = static_cast<char16_t>(gdk_keyval_to_unicode(gdk_keyval_to_upper(value)));
        if (character != 0 &&
            (press.Characters.empty() || IsLatin(character) != IsLatin(press.Characters.front()))) {
            press.Characters += character;
        }
    }
    if (press.Key == platform::VirtualKey::QuestionMark) {
        // On most keyboards it takes Shift to type it.
        state = static_cast<GdkModifierType>(state & ~GDK_SHIFT_MASK);
    }
    press.Modifiers = ModifiersOf(state);
    return press;
}

}  // namespace desktop
