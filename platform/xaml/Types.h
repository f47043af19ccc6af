#pragma once

// The value types of elements, by the platform's names and numbers.

#include <cstdint>
#include <string_view>

namespace platform {

enum class Visibility { Visible = 0, Collapsed = 1 };
enum class FlowDirection { LeftToRight = 0, RightToLeft = 1 };
enum class HorizontalAlignment { Left = 0, Center = 1, Right = 2, Stretch = 3 };
enum class VerticalAlignment { Top = 0, Center = 1, Bottom = 2, Stretch = 3 };
enum class Orientation { Vertical = 0, Horizontal = 1 };
/// Wrap breaks a word that is longer than its line, WrapWholeWords does not.
enum class TextWrapping { NoWrap = 1, Wrap = 2, WrapWholeWords = 3 };
enum class TextTrimming { None = 0, CharacterEllipsis = 1 };
enum class AutomationLiveSetting { Off = 0, Polite = 1, Assertive = 2 };
enum class Symbol { Copy = 57711, Volume = 57749, Back = 57618, Stop = 57691 };

/// Which part of an element has changed, for its peer.
enum class ElementProperty {
    Children,
    Visibility,
    FlowDirection,
    /// Size, margin, padding, alignment, grid cell, and the layout settings of panels.
    Layout,
    Style,
    /// Text, wrapping and trimming.
    Text,
    Selection,
    /// Glyph, symbol and colour.
    Icon,
    IsActive,
    IsEnabled,
    /// Accessible name, labelling element, heading level, live setting, tool tip.
    Accessibility,
};

/// Distances in device-independent pixels. Left is the leading side: in a right-to-left element it is on the
/// right.
struct Thickness {
    double Left = 0;
    double Top = 0;
    double Right = 0;
    double Bottom = 0;
    bool operator==(const Thickness&) const = default;
};

/// Device-independent pixels.
struct Size {
    double Width = 0;
    double Height = 0;
};

struct Rect {
    double X = 0;
    double Y = 0;
    double Width = 0;
    double Height = 0;
};

/// Widths that the caption buttons cover at the physical left and right end of the title bar, in
/// device-independent pixels.
struct OverlayInsets {
    double Left = 0;
    double Right = 0;
    bool operator==(const OverlayInsets&) const = default;
};

/// A grid row's height or column's width: of its content, or a share of what is left.
enum class GridLength { Auto, Star };

struct Color {
    std::uint8_t A = 255;
    std::uint8_t R = 0;
    std::uint8_t G = 0;
    std::uint8_t B = 0;
    bool operator==(const Color&) const = default;
};

namespace Colors {
inline constexpr Color Green{255, 0, 128, 0};
}

/// Keys by their virtual-key numbers; only the ones that anything here asks for have a name.
/// Letters have the number of their capital character.
enum class VirtualKey : std::uint32_t {
    None = 0,
    Tab = 9,
    Enter = 13,
    Shift = 16,
    Control = 17,
    Menu = 18,
    Escape = 27,
    Space = 32,
    End = 35,
    Home = 36,
    Left = 37,
    Up = 38,
    Right = 39,
    Down = 40,
    Insert = 45,
    A = 65,
    C = 67,
    Q = 81,
    W = 87,
    /// The menu key.
    Application = 93,
    F1 = 112,
    F5 = 116,
    F10 = 121,
    GoBack = 166,
    /// The platform has a number for it and no name.
    QuestionMark = 191
};

/// Keys that are held while another one is pressed; a set of bits.
enum class VirtualKeyModifiers : std::uint32_t { None = 0, Control = 1, Menu = 2, Shift = 4, Windows = 8 };

constexpr VirtualKeyModifiers operator|(VirtualKeyModifiers left, VirtualKeyModifiers right) {
    return static_cast<VirtualKeyModifiers>(static_cast<std::uint32_t>(left) |
                                            static_cast<std::uint32_t>(right));
}

/// Whether `modifier` is in the set.
constexpr bool HasModifier(VirtualKeyModifiers set, VirtualKeyModifiers modifier) {
    return (set | modifier) == set;
}

/// The enumeration name of a key ("Tab"); empty for a key without one.
std::u16string_view NameOf(VirtualKey key);

/// The key of that name; None when there is none.
VirtualKey KeyOf(std::u16string_view name);

}  // namespace platform
