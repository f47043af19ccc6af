#include "backends/desktop/CaptionButtons.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>

#include "backends/desktop/DrawingWidget.h"
#include "backends/desktop/Icons.h"
#include "backends/desktop/Unit.h"

namespace desktop {

namespace {

struct CaptionButton {
    /// In the user's setting and in style sheets.
    std::string_view word;
    const char* action;
    char16_t glyph;
    /// The toolkit's, which it has in the user's language.
    const char* name;
};

constexpr CaptionButton kButtons[] = {
    {"minimize", "window.minimize", kMinimizeGlyph, "Minimize"},
    {"maximize", "window.toggle-maximized", kMaximizeGlyph, "Maximize"},
    {"close", "window.close", kCloseGlyph, "Close"},
};
/// In place of "maximize" while the window is maximized.
constexpr CaptionButton kRestoreButton{"maximize", "window.toggle-maximized", kRestoreGlyph, "Restore"};

GtkWidget* NewButton(const CaptionButton& button) {
    constexpr double kSize = 16;
    auto* const icon =
        NewDrawingWidget(GTK_ACCESSIBLE_ROLE_PRESENTATION, "icon",
                         [glyph = button.glyph](cairo_t* cairo, double size, const GdkRGBA& color) {
                             DrawIcon(*FindIcon({&glyph, 1}), cairo, size, color, false);
                         });
    SetDrawingSize(icon, kSize);
    gtk_widget_set_halign(icon, GTK_ALIGN_CENTER);
    auto* const widget = gtk_button_new();
    gtk_button_set_child(GTK_BUTTON(widget), icon);
    gtk_widget_add_css_class(widget, std::string(button.word).c_str());
    // Reached by Tab; a click leaves the focus where it is.
    gtk_widget_set_focus_on_click(widget, FALSE);
    gtk_actionable_set_action_name(GTK_ACTIONABLE(widget), button.action);
    gtk_accessible_update_property(GTK_ACCESSIBLE(widget), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                   g_dgettext("gtk40", button.name), -1);
    return widget;
}

}  // namespace

CaptionButtons::CaptionButtons(GtkWindow* window, GtkOverlay* overlay, std::function<void()> changed)
    : m_window(window),
      m_overlay(overlay),
      m_changed(std::move(changed)),
      m_ends{gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0), gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0)},
      m_place(
          overlay, "get-child-position",
          [](GtkOverlay*, GtkWidget* widget, GdkRectangle* place, gpointer self) -> gboolean {
              return static_cast<CaptionButtons*>(self)->Place(widget, *place);
          },
          this) {
    for (auto* const end : m_ends) {
        gtk_widget_add_css_class(end, "Caption");
        gtk_overlay_add_overlay(overlay, end);
    }
    const auto rebuild = [](GObject*, GParamSpec*, gpointer self) {
        static_cast<CaptionButtons*>(self)->Rebuild();
    };
    m_layoutChanged = Signal(gtk_settings_get_default(), "notify::gtk-decoration-layout", rebuild, this);
    m_maximized = Signal(window, "notify::maximized", rebuild, this);
    Rebuild();
}

/// The setting lists the buttons of the one end, a colon, and those of the other: "close:minimize,maximize".
void CaptionButtons::Rebuild() {
    char* setting = nullptr;
    g_object_get(gtk_settings_get_default(), "gtk-decoration-layout", &setting, nullptr);
    const GCharPtr owned(setting);
    std::string_view rest = setting != nullptr ? setting : "";
    const auto before = Buttons();
    const auto focused = std::ranges::find(before, gtk_window_get_focus(m_window));
    const auto position = focused - before.begin();
    const bool hadFocus = focused != before.end();
    for (auto* const end : m_ends) {
        while (auto* const child = gtk_widget_get_first_child(end)) {
            gtk_box_remove(GTK_BOX(end), child);
        }
        auto words = rest.substr(0, rest.find(':'));
        rest.remove_prefix(std::min(words.size() + 1, rest.size()));
        while (!words.empty()) {
            const auto word = words.substr(0, words.find(','));
            words.remove_prefix(std::min(word.size() + 1, words.size()));
            const auto* const button = std::ranges::find(kButtons, word, &CaptionButton::word);
            if (button != std::end(kButtons)) {
                const bool restores =
                    word == kRestoreButton.word && gtk_window_is_maximized(m_window) != FALSE;
                gtk_box_append(GTK_BOX(end), NewButton(restores ? kRestoreButton : *button));
            }
        }
    }
    SetDirection(gtk_widget_get_direction(GTK_WIDGET(m_overlay)));
    if (const auto after = Buttons(); hadFocus && after.size() == before.size()) {
        gtk_widget_grab_focus(after[position]);
    }
}

std::vector<GtkWidget*> CaptionButtons::Buttons() const {
    std::vector<GtkWidget*> buttons;
    for (auto* const end : m_ends) {
        for (auto* child = gtk_widget_get_first_child(end); child != nullptr;
             child = gtk_widget_get_next_sibling(child)) {
            buttons.push_back(child);
        }
    }
    return buttons;
}

bool CaptionButtons::Contains(GtkWidget* widget) const {
    const auto* const parent = widget != nullptr ? gtk_widget_get_parent(widget) : nullptr;
    return parent != nullptr && std::ranges::find(m_ends, parent) != std::end(m_ends);
}

bool CaptionButtons::MoveFocus(GtkWidget* from, bool back) {
    auto buttons = Buttons();
    if (back) {
        std::ranges::reverse(buttons);
    }
    const auto current = std::ranges::find(buttons, from);
    const auto next = from == nullptr ? buttons.begin() : std::next(current);
    return next != buttons.end() && gtk_widget_grab_focus(*next) != FALSE;
}

int CaptionButtons::WidthOf(GtkPackType end) const {
    int width = 0;
    gtk_widget_measure(m_ends[end], GTK_ORIENTATION_HORIZONTAL, -1, nullptr, &width, nullptr, nullptr);
    return width;
}

bool CaptionButtons::IsRightToLeft() const {
    return gtk_widget_get_direction(GTK_WIDGET(m_overlay)) == GTK_TEXT_DIR_RTL;
}

platform::OverlayInsets CaptionButtons::Measure() const {
    platform::OverlayInsets insets{.Left = WidthOf(GTK_PACK_START) / Unit(),
                                   .Right = WidthOf(GTK_PACK_END) / Unit()};
    if (IsRightToLeft()) {
        std::swap(insets.Left, insets.Right);
    }
    return insets;
}

platform::OverlayInsets CaptionButtons::Insets() {
    m_reported = Measure();
    return m_reported;
}

void CaptionButtons::SetDirection(GtkTextDirection direction) {
    for (auto* const end : m_ends) {
        gtk_widget_set_direction(end, direction);
        for (auto* child = gtk_widget_get_first_child(end); child != nullptr;
             child = gtk_widget_get_next_sibling(child)) {
            gtk_widget_set_direction(child, direction);
        }
    }
}

/// Runs at every layout of the window, so that no cause of a change can be missed.
bool CaptionButtons::Place(GtkWidget* widget, GdkRectangle& place) {
    if (widget != m_ends[GTK_PACK_START] && widget != m_ends[GTK_PACK_END]) {
        return false;
    }
    const auto end = widget == m_ends[GTK_PACK_START] ? GTK_PACK_START : GTK_PACK_END;
    const bool atLeft = (end == GTK_PACK_START) != IsRightToLeft();
    const int width = WidthOf(end);
    place = {atLeft ? 0 : gtk_widget_get_width(GTK_WIDGET(m_overlay)) - width, 0, width, Pixels(kHeight)};
    if (Measure() != m_reported && !m_report.IsPending()) {
        // Not from inside a layout: the receiver changes the layout again.
        m_report.Schedule(G_PRIORITY_HIGH, [this] {
            m_reported = Measure();
            m_changed();
        });
    }
    return true;
}

}  // namespace desktop
