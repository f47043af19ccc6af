#include "backends/desktop/ResizeBorder.h"

namespace desktop {

namespace {

constexpr int kEdge = 4;
constexpr int kCorner = 12;

/// A strip by its place: the physical left and right, also when texts run from right to left.
struct Strip {
    GdkSurfaceEdge edge;
    GtkAlign across;
    GtkAlign down;
    const char* cursor;
};

// Corners last: they lie over the edges.
constexpr Strip kStrips[] = {
    {GDK_SURFACE_EDGE_NORTH, GTK_ALIGN_FILL, GTK_ALIGN_START, "n-resize"},
    {GDK_SURFACE_EDGE_SOUTH, GTK_ALIGN_FILL, GTK_ALIGN_END, "s-resize"},
    {GDK_SURFACE_EDGE_WEST, GTK_ALIGN_START, GTK_ALIGN_FILL, "w-resize"},
    {GDK_SURFACE_EDGE_EAST, GTK_ALIGN_END, GTK_ALIGN_FILL, "e-resize"},
    {GDK_SURFACE_EDGE_NORTH_WEST, GTK_ALIGN_START, GTK_ALIGN_START, "nw-resize"},
    {GDK_SURFACE_EDGE_NORTH_EAST, GTK_ALIGN_END, GTK_ALIGN_START, "ne-resize"},
    {GDK_SURFACE_EDGE_SOUTH_WEST, GTK_ALIGN_START, GTK_ALIGN_END, "sw-resize"},
    {GDK_SURFACE_EDGE_SOUTH_EAST, GTK_ALIGN_END, GTK_ALIGN_END, "se-resize"},
};

void BeginResize(GtkGestureClick* gesture, double x, double y, const Strip& strip) {
    auto* const controller = GTK_EVENT_CONTROLLER(gesture);
    auto* const widget = gtk_event_controller_get_widget(controller);
    auto* const native = gtk_widget_get_native(widget);
    double surfaceX = 0;
    double surfaceY = 0;
    gtk_native_get_surface_transform(native, &surfaceX, &surfaceY);
    gtk_widget_translate_coordinates(widget, GTK_WIDGET(native), x, y, &x, &y);
    gdk_toplevel_begin_resize(
        GDK_TOPLEVEL(gtk_native_get_surface(native)), strip.edge,
        gtk_event_controller_get_current_event_device(controller),
        static_cast<int>(gtk_gesture_single_get_current_button(GTK_GESTURE_SINGLE(gesture))), x + surfaceX,
        y + surfaceY, gtk_event_controller_get_current_event_time(controller));
    // The release goes to the window manager.
    gtk_event_controller_reset(controller);
}

}  // namespace

ResizeBorder::ResizeBorder(GtkWindow* window, GtkOverlay* overlay) : m_window(window) {
    const auto update = [](GObject*, GParamSpec*, gpointer self) {
        static_cast<ResizeBorder*>(self)->Update();
    };
    m_maximized = Signal(window, "notify::maximized", update, this);
    m_fullscreened = Signal(window, "notify::fullscreened", update, this);
    static_assert(std::size(desktop::kStrips) == kStrips);
    for (std::size_t index = 0; index < kStrips; ++index) {
        const auto& strip = desktop::kStrips[index];
        auto* const widget = static_cast<GtkWidget*>(
            g_object_new(GTK_TYPE_BOX, "accessible-role", GTK_ACCESSIBLE_ROLE_PRESENTATION, "halign",
                         strip.across, "valign", strip.down, nullptr));
        const int size = index < 4 ? kEdge : kCorner;
        gtk_widget_set_size_request(widget, size, size);
        gtk_widget_set_direction(widget, GTK_TEXT_DIR_LTR);
        gtk_widget_set_cursor_from_name(widget, strip.cursor);
        auto* const gesture = gtk_gesture_click_new();
        gtk_widget_add_controller(widget, GTK_EVENT_CONTROLLER(gesture));
        m_pressed[index] = Signal(
            gesture, "pressed",
            [](GtkGestureClick* click, int, double x, double y, gpointer pressed) {
                BeginResize(click, x, y, *static_cast<const Strip*>(pressed));
            },
            const_cast<Strip*>(&strip));
        gtk_overlay_add_overlay(overlay, widget);
        m_strips[index] = widget;
    }
}

void ResizeBorder::Update() {
    const bool resizable = !gtk_window_is_maximized(m_window) && !gtk_window_is_fullscreen(m_window);
    for (auto* const strip : m_strips) {
        gtk_widget_set_visible(strip, resizable);
    }
}

}  // namespace desktop
