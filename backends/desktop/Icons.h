#pragma once

#include <gtk/gtk.h>

#include <span>
#include <string_view>

namespace desktop {

/// A line of an icon, or a filled shape.
struct IconPart {
    enum Kind { kStroke, kFill, kStrokeAndTint, kTint };
    Kind kind;
    /// Absolute commands M, L, C and Z as in SVG, in the icon's grid.
    std::string_view path;
};

struct Icon {
    /// Of the platform's symbol font; a symbol is a glyph of the same font.
    char16_t glyph;
    /// The drawing lies in a square of this size from (0, 0) on.
    double grid;
    /// Reverses with the direction of writing.
    bool mirrored;
    std::span<const IconPart> parts;
};

/// The icon for a glyph; null when this program has no drawing of it.
const Icon* FindIcon(std::u16string_view glyph);

/// Into a square of `size` pixels from the origin on.
void DrawIcon(const Icon& icon, cairo_t* cairo, double size, const GdkRGBA& color, bool rightToLeft);

// Icons of the caption buttons.
inline constexpr char16_t kMinimizeGlyph = u'\uE921';
inline constexpr char16_t kMaximizeGlyph = u'\uE922';
inline constexpr char16_t kRestoreGlyph = u'\uE923';
inline constexpr char16_t kCloseGlyph = u'\uE8BB';

}  // namespace desktop
