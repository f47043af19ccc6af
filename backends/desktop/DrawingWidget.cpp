#include "backends/desktop/DrawingWidget.h"

#include <algorithm>

#include "backends/desktop/Unit.h"

namespace desktop {

namespace {

struct DrawingWidget {
    GtkWidget parent;
    Draw* draw;
    double size;
};

struct DrawingWidgetClass {
    GtkWidgetClass parent;
};

// The type system's macro makes functions of these names.
G_DEFINE_TYPE(DrawingWidget, drawing_widget, GTK_TYPE_WIDGET)

DrawingWidget* Of(GtkWidget* widget) {
    return reinterpret_cast<DrawingWidget*>(widget);
}

constexpr auto MeasureDrawing = [](GtkWidget* widget, GtkOrientation, int, int* minimum, int* natural,
                                   int* minimumBaseline, int* naturalBaseline) {
    *minimum = *natural = Pixels(Of(widget)->size);
    *minimumBaseline = *naturalBaseline = -1;
};

constexpr auto Snapshot = [](GtkWidget* widget, GtkSnapshot* snapshot) {
    const double width = gtk_widget_get_width(widget);
    const double height = gtk_widget_get_height(widget);
    const double size = std::min(width, height);
    GdkRGBA color;
    gtk_style_context_get_color(gtk_widget_get_style_context(widget), &color);
    const graphene_rect_t bounds{{0, 0}, {static_cast<float>(width), static_cast<float>(height)}};
    const std::unique_ptr<cairo_t, FreeWith<cairo_destroy>> cairo(
        gtk_snapshot_append_cairo(snapshot, &bounds));
    cairo_translate(cairo.get(), (width - size) / 2, (height - size) / 2);
    (*Of(widget)->draw)(cairo.get(), size, color);
};

constexpr auto Finalize = [](GObject* object) {
    delete reinterpret_cast<DrawingWidget*>(object)->draw;
    G_OBJECT_CLASS(drawing_widget_parent_class)->finalize(object);
};

void drawing_widget_init(DrawingWidget*) {}

void drawing_widget_class_init(DrawingWidgetClass* type) {
    G_OBJECT_CLASS(type)->finalize = Callback(Finalize);
    auto* const widget = GTK_WIDGET_CLASS(type);
    widget->measure = Callback(MeasureDrawing);
    widget->snapshot = Callback(Snapshot);
}

}  // namespace

GtkWidget* NewDrawingWidget(GtkAccessibleRole role, const char* cssName, Draw draw) {
    auto* const widget = static_cast<GtkWidget*>(
        g_object_new(drawing_widget_get_type(), "accessible-role", role, "css-name", cssName, nullptr));
    Of(widget)->draw = new Draw(std::move(draw));
    return widget;
}

void SetDrawingSize(GtkWidget* widget, double size) {
    Of(widget)->size = size;
    gtk_widget_queue_resize(widget);
}

}  // namespace desktop
