#include "backends/desktop/Icons.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "platform/xaml/Types.h"

namespace desktop {

namespace {

constexpr IconPart kCopy[] = {
    {IconPart::kStroke,
     "M6.25 5.25L12 5.25C12.7 5.25 13.25 5.8 13.25 6.5L13.25 12"
     "C13.25 12.7 12.7 13.25 12 13.25L6.5 13.25C5.8 13.25 5.25 12.7 5.25 12L5.25 6.25"
     "C5.25 5.7 5.7 5.25 6.25 5.25Z"},
    {IconPart::kStroke, "M2.75 10.25L2.75 4C2.75 3.3 3.3 2.75 4 2.75L10.25 2.75"},
};
constexpr IconPart kCheck[] = {
    {IconPart::kStroke, "M3 8.5L6.5 12L13 4.75"},
};
constexpr IconPart kDash[] = {
    {IconPart::kStroke, "M4 8L12 8"},
};
constexpr IconPart kSpeak[] = {
    {IconPart::kStroke, "M2.25 6.25L4.5 6.25L8 3.25L8 12.75L4.5 9.75L2.25 9.75Z"},
    {IconPart::kStroke, "M10.5 5.75C11.6 7 11.6 9 10.5 10.25"},
    {IconPart::kStroke, "M12.5 3.75C14.6 6.1 14.6 9.9 12.5 12.25"},
};
constexpr IconPart kStop[] = {
    {IconPart::kStroke, "M4 4L12 4L12 12L4 12Z"},
};
constexpr IconPart kEye[] = {
    {IconPart::kStroke,
     "M1.5 8C3.2 5.1 5.4 3.75 8 3.75C10.6 3.75 12.8 5.1 14.5 8"
     "C12.8 10.9 10.6 12.25 8 12.25C5.4 12.25 3.2 10.9 1.5 8Z"},
    {IconPart::kStroke,
     "M9.75 8C9.75 8.97 8.97 9.75 8 9.75C7.03 9.75 6.25 8.97 6.25 8"
     "C6.25 7.03 7.03 6.25 8 6.25C8.97 6.25 9.75 7.03 9.75 8Z"},
};
constexpr IconPart kEyeoff[] = {
    {IconPart::kStroke,
     "M1.5 8C3.2 5.1 5.4 3.75 8 3.75C10.6 3.75 12.8 5.1 14.5 8"
     "C12.8 10.9 10.6 12.25 8 12.25C5.4 12.25 3.2 10.9 1.5 8Z"},
    {IconPart::kStroke, "M3 13.25L13 2.75"},
};
constexpr IconPart kDown[] = {
    {IconPart::kStroke, "M4 6.25L8 10.25L12 6.25"},
};
constexpr IconPart kUp[] = {
    {IconPart::kStroke, "M4 9.75L8 5.75L12 9.75"},
};
constexpr IconPart kBack[] = {
    {IconPart::kStroke, "M9.75 3.75L5.5 8L9.75 12.25"},
};
constexpr IconPart kOpen[] = {
    {IconPart::kStroke,
     "M6.5 3.75L4.25 3.75C3.4 3.75 2.75 4.4 2.75 5.25L2.75 11.75"
     "C2.75 12.6 3.4 13.25 4.25 13.25L10.75 13.25C11.6 13.25 12.25 12.6 12.25 11.75"
     "L12.25 9.5"},
    {IconPart::kStroke, "M9.25 2.75L13.25 2.75L13.25 6.75"},
    {IconPart::kStroke, "M13 3L7.5 8.5"},
};
constexpr IconPart kWarn[] = {
    {IconPart::kStroke, "M8 2.5L14.25 13.25L1.75 13.25Z"},
    {IconPart::kStroke, "M8 6.5L8 9.25"},
    {IconPart::kFill,
     "M7.1 11.3C7.1 10.8 7.5 10.4 8 10.4C8.5 10.4 8.9 10.8 8.9 11.3"
     "C8.9 11.8 8.5 12.2 8 12.2C7.5 12.2 7.1 11.8 7.1 11.3Z"},
};
constexpr IconPart kClose[] = {
    {IconPart::kStroke, "M4.25 4.25L11.75 11.75"},
    {IconPart::kStroke, "M11.75 4.25L4.25 11.75"},
};
constexpr IconPart kMinimize[] = {
    {IconPart::kStroke, "M3.5 8L12.5 8"},
};
constexpr IconPart kMaximize[] = {
    {IconPart::kStroke, "M3.75 3.75L12.25 3.75L12.25 12.25L3.75 12.25Z"},
};
constexpr IconPart kRestore[] = {
    {IconPart::kStroke, "M3.25 5.75L10.25 5.75L10.25 12.75L3.25 12.75Z"},
    {IconPart::kStroke, "M5.75 3.25L12.75 3.25L12.75 10.25"},
};
constexpr IconPart kPort[] = {
    {IconPart::kStroke,
     "M4.75 5.25L11.25 5.25C12.8 5.25 14 6.5 14 8C14 9.5 12.8 10.75 11.25 10.75"
     "L4.75 10.75C3.2 10.75 2 9.5 2 8C2 6.5 3.2 5.25 4.75 5.25Z"},
    {IconPart::kStroke, "M5.5 8L10.5 8"},
};
constexpr IconPart kLaptop[] = {
    {IconPart::kStrokeAndTint,
     "M13 11L35 11C36.66 11 38 12.34 38 14L38 27C38 28.66 36.66 30 35 30L13 30"
     "C11.34 30 10 28.66 10 27L10 14C10 12.34 11.34 11 13 11Z"},
    {IconPart::kStroke, "M5 35L43 35"},
};
constexpr IconPart kDesktop[] = {
    {IconPart::kStrokeAndTint,
     "M18 6L30 6C31.66 6 33 7.34 33 9L33 39C33 40.66 31.66 42 30 42L18 42"
     "C16.34 42 15 40.66 15 39L15 9C15 7.34 16.34 6 18 6Z"},
    {IconPart::kStroke, "M20 13L28 13"},
    {IconPart::kStroke, "M20 19L28 19"},
    {IconPart::kFill,
     "M24 33L24 33C25.10 33 26 33.90 26 35L26 35C26 36.10 25.10 37 24 37L24 37"
     "C22.90 37 22 36.10 22 35L22 35C22 33.90 22.90 33 24 33Z"},
};
constexpr IconPart kAllinone[] = {
    {IconPart::kStrokeAndTint,
     "M10 8L38 8C39.66 8 41 9.34 41 11L41 28C41 29.66 39.66 31 38 31L10 31"
     "C8.34 31 7 29.66 7 28L7 11C7 9.34 8.34 8 10 8Z"},
    {IconPart::kStroke, "M24 31L24 39"},
    {IconPart::kStroke, "M16 40L32 40"},
};
constexpr IconPart kServer[] = {
    {IconPart::kStrokeAndTint,
     "M11 9L37 9C38.66 9 40 10.34 40 12L40 19C40 20.66 38.66 22 37 22L11 22"
     "C9.34 22 8 20.66 8 19L8 12C8 10.34 9.34 9 11 9Z"},
    {IconPart::kStrokeAndTint,
     "M11 26L37 26C38.66 26 40 27.34 40 29L40 36C40 37.66 38.66 39 37 39L11 39"
     "C9.34 39 8 37.66 8 36L8 29C8 27.34 9.34 26 11 26Z"},
    {IconPart::kFill,
     "M15.5 13.5L15.5 13.5C16.60 13.5 17.5 14.40 17.5 15.5L17.5 15.5"
     "C17.5 16.60 16.60 17.5 15.5 17.5L15.5 17.5C14.40 17.5 13.5 16.60 13.5 15.5"
     "L13.5 15.5C13.5 14.40 14.40 13.5 15.5 13.5Z"},
    {IconPart::kFill,
     "M15.5 30.5L15.5 30.5C16.60 30.5 17.5 31.40 17.5 32.5L17.5 32.5"
     "C17.5 33.60 16.60 34.5 15.5 34.5L15.5 34.5C14.40 34.5 13.5 33.60 13.5 32.5"
     "L13.5 32.5C13.5 31.40 14.40 30.5 15.5 30.5Z"},
    {IconPart::kStroke, "M24 15.5L34 15.5"},
    {IconPart::kStroke, "M24 32.5L34 32.5"},
};
constexpr IconPart kTablet[] = {
    {IconPart::kStrokeAndTint,
     "M16 6L32 6C34.21 6 36 7.79 36 10L36 38C36 40.21 34.21 42 32 42L16 42"
     "C13.79 42 12 40.21 12 38L12 10C12 7.79 13.79 6 16 6Z"},
    {IconPart::kStroke, "M22 36L26 36"},
};
constexpr IconPart kBoard[] = {
    {IconPart::kTint,
     "M18 16L30 16C31.10 16 32 16.90 32 18L32 30C32 31.10 31.10 32 30 32L18 32"
     "C16.90 32 16 31.10 16 30L16 18C16 16.90 16.90 16 18 16Z"},
    {IconPart::kStroke,
     "M12 9L36 9C37.66 9 39 10.34 39 12L39 36C39 37.66 37.66 39 36 39L12 39"
     "C10.34 39 9 37.66 9 36L9 12C9 10.34 10.34 9 12 9Z"},
    {IconPart::kStroke,
     "M19 17L29 17C30.10 17 31 17.90 31 19L31 29C31 30.10 30.10 31 29 31L19 31"
     "C17.90 31 17 30.10 17 29L17 19C17 17.90 17.90 17 19 17Z"},
    {IconPart::kStroke, "M18 9L18 4"},
    {IconPart::kStroke, "M30 9L30 4"},
    {IconPart::kStroke, "M18 44L18 39"},
    {IconPart::kStroke, "M30 44L30 39"},
    {IconPart::kStroke, "M4 18L9 18"},
    {IconPart::kStroke, "M4 30L9 30"},
    {IconPart::kStroke, "M39 18L44 18"},
    {IconPart::kStroke, "M39 30L44 30"},
};
constexpr IconPart kVirtual[] = {
    {IconPart::kStrokeAndTint,
     "M19 17L39 17C40.66 17 42 18.34 42 20L42 35C42 36.66 40.66 38 39 38L19 38"
     "C17.34 38 16 36.66 16 35L16 20C16 18.34 17.34 17 19 17Z"},
    {IconPart::kStroke,
     "M11 31L9 31C7.35 31 6 29.65 6 28L6 13C6 11.35 7.35 10 9 10L29 10"
     "C30.65 10 32 11.35 32 13"},
};
constexpr IconPart kUnknown[] = {
    {IconPart::kStrokeAndTint,
     "M10 8L38 8C39.66 8 41 9.34 41 11L41 29C41 30.66 39.66 32 38 32L10 32"
     "C8.34 32 7 30.66 7 29L7 11C7 9.34 8.34 8 10 8Z"},
    {IconPart::kStroke, "M18 40L30 40"},
    {IconPart::kStroke, "M21 17C21 15 22.4 14 24 14C25.8 14 27 15.2 27 16.8C27 18.8 24 19 24 21.6"},
    {IconPart::kFill,
     "M24.0 24.6L24 24.6C24.77 24.6 25.4 25.23 25.4 26.0L25.4 26"
     "C25.4 26.77 24.77 27.4 24 27.4L24.0 27.4C23.23 27.4 22.6 26.77 22.6 26L22.6 26.0"
     "C22.6 25.23 23.23 24.6 24.0 24.6Z"},
};
constexpr IconPart kRestart[] = {
    {IconPart::kStroke,
     "M13 20C15 13.5 20 10 26 10.6C33 11.3 38 17 38 24C38 31.5 32 38 24 38"
     "C18 38 13 34.6 11 29.5"},
    {IconPart::kStroke, "M11.5 12L12.5 20.5L21 19.5"},
    {IconPart::kStroke, "M17.5 25L21.5 25L23.5 20.5L26.5 29L28 25L31 25"},
};

constexpr Icon kIcons[] = {
    {static_cast<char16_t>(platform::Symbol::Copy), 16, false, kCopy},
    {u'\uEC61', 16, false, kCheck},
    {u'\uE73E', 16, false, kCheck},
    {u'\uE738', 16, false, kDash},
    {static_cast<char16_t>(platform::Symbol::Volume), 16, true, kSpeak},
    {static_cast<char16_t>(platform::Symbol::Stop), 16, false, kStop},
    {u'\uE890', 16, false, kEye},
    {u'\uED1A', 16, false, kEyeoff},
    {u'\uE972', 16, false, kDown},
    {u'\uE971', 16, false, kUp},
    {static_cast<char16_t>(platform::Symbol::Back), 16, true, kBack},
    {u'\uE8A7', 16, true, kOpen},
    {u'\uE783', 16, false, kWarn},
    {kCloseGlyph, 16, false, kClose},
    {kMinimizeGlyph, 16, false, kMinimize},
    {kMaximizeGlyph, 16, false, kMaximize},
    {kRestoreGlyph, 16, false, kRestore},
    {u'\uE88E', 16, false, kPort},
    {u'\uE7F8', 48, false, kLaptop},
    {u'\uE977', 48, false, kDesktop},
    {u'\uE7F4', 48, false, kAllinone},
    {u'\uE968', 48, false, kServer},
    {u'\uE70A', 48, false, kTablet},
    {u'\uE950', 48, false, kBoard},
    {u'\uE8D4', 48, false, kVirtual},
    {u'\uE9CE', 48, false, kUnknown},
    {u'\uE72C', 48, false, kRestart},
};

/// The next number of `path`, which loses it and the blanks before it.
double TakeNumber(std::string_view& path) {
    path.remove_prefix(std::min(path.find_first_not_of(' '), path.size()));
    double number = 0;
    const auto [end, error] = std::from_chars(path.data(), path.data() + path.size(), number);
    path.remove_prefix(static_cast<std::size_t>(end - path.data()));
    return number;
}

void AddPath(cairo_t* cairo, std::string_view path) {
    while (!path.empty()) {
        const char command = path.front();
        path.remove_prefix(1);
        double numbers[6] = {};
        const int count = command == 'C' ? 6 : command == 'Z' ? 0 : 2;
        std::generate_n(numbers, count, [&] { return TakeNumber(path); });
        switch (command) {
            case 'M':
                cairo_move_to(cairo, numbers[0], numbers[1]);
                break;
            case 'L':
                cairo_line_to(cairo, numbers[0], numbers[1]);
                break;
            case 'C':
                cairo_curve_to(cairo, numbers[0], numbers[1], numbers[2], numbers[3], numbers[4], numbers[5]);
                break;
            default:
                cairo_close_path(cairo);
                break;
        }
    }
}

}  // namespace

const Icon* FindIcon(std::u16string_view glyph) {
    const auto* const found = std::find_if(std::begin(kIcons), std::end(kIcons), [glyph](const Icon& icon) {
        return glyph.size() == 1 && glyph.front() == icon.glyph;
    });
    return found == std::end(kIcons) ? nullptr : found;
}

void DrawIcon(const Icon& icon, cairo_t* cairo, double size, const GdkRGBA& color, bool rightToLeft) {
    constexpr double kTintOpacity = 0.18;
    // The lines of a small icon are thicker in proportion.
    const double lineWidth = icon.grid > 16 ? 2.4 : 1.5;
    const double scale = size / icon.grid;
    if (icon.mirrored && rightToLeft) {
        cairo_translate(cairo, size, 0);
        cairo_scale(cairo, -scale, scale);
    } else {
        cairo_scale(cairo, scale, scale);
    }
    cairo_set_line_width(cairo, lineWidth);
    cairo_set_line_cap(cairo, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(cairo, CAIRO_LINE_JOIN_ROUND);
    for (const auto& [kind, path] : icon.parts) {
        AddPath(cairo, path);
        if (kind != IconPart::kStroke) {
            const double opacity = kind == IconPart::kFill ? 1 : kTintOpacity;
            cairo_set_source_rgba(cairo, color.red, color.green, color.blue, color.alpha * opacity);
            cairo_fill_preserve(cairo);
        }
        if (kind == IconPart::kStroke || kind == IconPart::kStrokeAndTint) {
            gdk_cairo_set_source_rgba(cairo, &color);
            cairo_stroke_preserve(cairo);
        }
        cairo_new_path(cairo);
    }
}

}  // namespace desktop
