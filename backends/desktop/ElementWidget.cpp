#include "backends/desktop/ElementWidget.h"

#include <algorithm>

namespace desktop {

namespace {

struct ElementWidget {
    GtkWidget parent;
    std::function<Layout()>* layout;
};

struct ElementWidgetClass {
    GtkWidgetClass parent;
};

// The type system's macro makes functions of these names.
G_DEFINE_TYPE(ElementWidget, element_widget, GTK_TYPE_WIDGET)

Layout OwnLayout(GtkWidget* widget) {
    const auto* const layout = reinterpret_cast<ElementWidget*>(widget)->layout;
    return layout != nullptr ? (*layout)() : Layout();
}

constexpr auto MeasureElement = [](GtkWidget* widget, GtkOrientation orientation, int forSize, int* minimum,
                                   int* natural, int* minimumBaseline, int* naturalBaseline) {
    *minimum = *natural = 0;
    *minimumBaseline = *naturalBaseline = -1;
    const auto extent = std::visit([&](const auto& layout) { return layout.Measure(orientation, forSize); },
                                   OwnLayout(widget));
    *minimum = extent.Minimum;
    *natural = extent.Natural;
};

constexpr auto AllocateElement = [](GtkWidget* widget, int width, int height, int /*baseline*/) {
    std::visit([&](const auto& layout) { layout.Allocate(width, height, gtk_widget_get_direction(widget)); },
               OwnLayout(widget));
};

constexpr auto RequestMode = [](GtkWidget*) { return GTK_SIZE_REQUEST_HEIGHT_FOR_WIDTH; };

constexpr auto Dispose = [](GObject* object) {
    SetLayout(GTK_WIDGET(object), nullptr);
    SetChildren(GTK_WIDGET(object), {});
    G_OBJECT_CLASS(element_widget_parent_class)->dispose(object);
};

void element_widget_init(ElementWidget*) {}

void element_widget_class_init(ElementWidgetClass* type) {
    G_OBJECT_CLASS(type)->dispose = Callback(Dispose);
    auto* const widget = GTK_WIDGET_CLASS(type);
    widget->measure = Callback(MeasureElement);
    widget->size_allocate = Callback(AllocateElement);
    widget->get_request_mode = Callback(RequestMode);
    gtk_widget_class_set_css_name(widget, "element");
    gtk_widget_class_set_accessible_role(widget, GTK_ACCESSIBLE_ROLE_GROUP);
}

}  // namespace

GdkRectangle LastLineOf(GtkWidget* widget, int width) {
    if (!G_TYPE_CHECK_INSTANCE_TYPE(widget, element_widget_get_type())) {
        return {};
    }
    const auto layout = OwnLayout(widget);
    const auto* const wrapped = std::get_if<WrapLayout>(&layout);
    return wrapped != nullptr ? wrapped->LastLine(width) : GdkRectangle{};
}

GtkWidget* NewElementWidget() {
    return static_cast<GtkWidget*>(g_object_new(element_widget_get_type(), nullptr));
}

void SetLayout(GtkWidget* widget, std::function<Layout()> layout) {
    auto& current = reinterpret_cast<ElementWidget*>(widget)->layout;
    delete current;
    current = layout ? new std::function(std::move(layout)) : nullptr;
}

void SetChildren(GtkWidget* widget, const std::vector<GtkWidget*>& children) {
    for (auto* child = gtk_widget_get_first_child(widget); child != nullptr;) {
        auto* const next = gtk_widget_get_next_sibling(child);
        if (std::find(children.begin(), children.end(), child) == children.end()) {
            gtk_widget_unparent(child);
        }
        child = next;
    }
    GtkWidget* previous = nullptr;
    for (auto* const child : children) {
        gtk_widget_insert_after(child, widget, previous);
        previous = child;
    }
}

}  // namespace desktop
