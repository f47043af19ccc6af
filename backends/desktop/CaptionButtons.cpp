#include "backends/desktop/CaptionButtons.h"

namespace desktop {

CaptionButtons::CaptionButtons(GtkOverlay* overlay, std::function<void()> changed)
    : m_overlay(overlay),
      m_changed(std::move(changed)),
      m_controls{gtk_window_controls_new(GTK_PACK_START), gtk_window_controls_new(GTK_PACK_END)},
      m_place(overlay, "get-child-position", Place, this) {
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
gboolean CaptionButtons::Place(GtkOverlay* overlay, GtkWidget* widget, GdkRectangle* place, gpointer data) {
    auto* const self = static_cast<CaptionButtons*>(data);
    if (widget != self->m_controls[GTK_PACK_START] && widget != self->m_controls[GTK_PACK_END]) {
        return FALSE;
    }
    const auto end = widget == self->m_controls[GTK_PACK_START] ? GTK_PACK_START : GTK_PACK_END;
    const bool atLeft = (end == GTK_PACK_START) != self->IsRightToLeft();
    const int width = self->WidthOf(end);
    *place = {atLeft ? 0 : gtk_widget_get_width(GTK_WIDGET(overlay)) - width, 0, width, kHeight};
    if (self->Measure() != self->m_reported && !self->m_report) {
        // Not from inside a layout: whoever hears of it lays out anew.
        self->m_report = SourceId(g_idle_add_full(
            G_PRIORITY_HIGH,
            [](gpointer source) -> gboolean {
                auto* const buttons = static_cast<CaptionButtons*>(source);
                buttons->m_report.Release();
                buttons->m_reported = buttons->Measure();
                buttons->m_changed();
                return G_SOURCE_REMOVE;
            },
            self, nullptr));
    }
    return TRUE;
}

}  // namespace desktop
