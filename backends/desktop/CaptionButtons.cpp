#include "backends/desktop/CaptionButtons.h"

namespace desktop {

CaptionButtons::CaptionButtons(GtkOverlay* overlay, std::function<void()> changed)
    : m_overlay(overlay),
      m_changed(std::move(changed)),
      m_controls{gtk_window_controls_new(GTK_PACK_START), gtk_window_controls_new(GTK_PACK_END)},
      m_place(
          overlay, "get-child-position",
          [](GtkOverlay*, GtkWidget* widget, GdkRectangle* place, gpointer self) -> gboolean {
              return static_cast<CaptionButtons*>(self)->Place(widget, *place);
          },
          this) {
    for (auto* const controls : m_controls) {
        gtk_widget_add_css_class(controls, "kelvane");
        gtk_overlay_add_overlay(overlay, controls);
    }
}

int CaptionButtons::WidthOf(GtkPackType end) const {
    auto* const controls = m_controls[end];
    if (gtk_window_controls_get_empty(GTK_WINDOW_CONTROLS(controls))) {
        return 0;
    }
    int width = 0;
    gtk_widget_measure(controls, GTK_ORIENTATION_HORIZONTAL, -1, nullptr, &width, nullptr, nullptr);
    return width;
}

bool CaptionButtons::IsRightToLeft() const {
    return gtk_widget_get_direction(GTK_WIDGET(m_overlay)) == GTK_TEXT_DIR_RTL;
}

platform::OverlayInsets CaptionButtons::Measure() const {
    platform::OverlayInsets insets{.Left = static_cast<double>(WidthOf(GTK_PACK_START)),
                                   .Right = static_cast<double>(WidthOf(GTK_PACK_END))};
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
    for (auto* const controls : m_controls) {
        gtk_widget_set_direction(controls, direction);
        for (auto* child = gtk_widget_get_first_child(controls); child != nullptr;
             child = gtk_widget_get_next_sibling(child)) {
            gtk_widget_set_direction(child, direction);
        }
    }
}

/// Runs at every layout of the window, so that no cause of a change can be missed.
bool CaptionButtons::Place(GtkWidget* widget, GdkRectangle& place) {
    if (widget != m_controls[GTK_PACK_START] && widget != m_controls[GTK_PACK_END]) {
        return false;
    }
    const auto end = widget == m_controls[GTK_PACK_START] ? GTK_PACK_START : GTK_PACK_END;
    const bool atLeft = (end == GTK_PACK_START) != IsRightToLeft();
    const int width = WidthOf(end);
    place = {atLeft ? 0 : gtk_widget_get_width(GTK_WIDGET(m_overlay)) - width, 0, width, kHeight};
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
