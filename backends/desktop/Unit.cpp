#include "backends/desktop/Unit.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "backends/desktop/StyleSheets.h"

namespace desktop {

namespace {

double g_unit = 1;
std::function<void(double)> g_changed;

/// The desktop's ordinary resolution, in dots per inch.
constexpr double kResolution = 96;
/// The largest font, in points, that fits at a unit of 1.
constexpr double kPoints = 11;

double UnitOf(GtkSettings* settings) {
    int resolution = 0;
    char* name = nullptr;
    g_object_get(settings, "gtk-xft-dpi", &resolution, "gtk-font-name", &name, nullptr);
    const GCharPtr owned(name);
    // The setting counts in 1024ths; -1 for none.
    const double scale = resolution > 0 ? resolution / 1024.0 / kResolution : 1;
    const std::unique_ptr<PangoFontDescription, FreeWith<pango_font_description_free>> font(
        pango_font_description_from_string(name != nullptr ? name : ""));
    const double size = static_cast<double>(pango_font_description_get_size(font.get())) / PANGO_SCALE;
    constexpr double kPointsPerInch = 72;
    const bool inPixels = pango_font_description_get_size_is_absolute(font.get()) != FALSE;
    return inPixels ? std::max(1.0, size * kPointsPerInch / kResolution / kPoints)
                    : scale * std::max(1.0, size / kPoints);
}

}  // namespace

double Unit() {
    return g_unit;
}

int Pixels(double length) {
    return static_cast<int>(std::lround(length * g_unit));
}

std::string InPixels(std::string_view sheet) {
    constexpr std::string_view kUnit = "dip";
    constexpr std::string_view kNumber = "0123456789.-";
    std::string css;
    for (auto at = sheet.find(kUnit); at != std::string_view::npos; at = sheet.find(kUnit)) {
        const auto number = sheet.substr(0, at).find_last_not_of(kNumber) + 1;
        double length = 0;
        std::from_chars(sheet.data() + number, sheet.data() + at, length);
        css.append(sheet.substr(0, number)).append(std::to_string(Pixels(length))).append("px");
        sheet.remove_prefix(at + kUnit.size());
    }
    return css.append(sheet);
}

TextScale::TextScale() : m_settings(gtk_settings_get_default()) {
    gtk_style_context_add_provider_for_display(gdk_display_get_default(), GTK_STYLE_PROVIDER(m_style.get()),
                                               GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    const auto update = [](GObject*, GParamSpec*, gpointer self) { static_cast<TextScale*>(self)->Update(); };
    m_resolutionChanged = Signal(m_settings, "notify::gtk-xft-dpi", update, this);
    m_fontChanged = Signal(m_settings, "notify::gtk-font-name", update, this);
    Update();
}

void TextScale::OnChange(std::function<void(double before)> changed) {
    g_changed = std::move(changed);
}

void TextScale::Update() {
    const double before = std::exchange(g_unit, UnitOf(m_settings));
    const auto css = InPixels(kStyleSheet);
    gtk_css_provider_load_from_data(m_style.get(), css.data(), static_cast<gssize>(css.size()));
    if (g_changed && before != g_unit) {
        g_changed(before);
    }
}

}  // namespace desktop
