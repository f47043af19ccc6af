#include "backends/desktop/GtkPeer.h"

#include "backends/desktop/Unit.h"
#include "platform/core/Text.h"
#include "platform/xaml/InfoBar.h"

namespace desktop {

using platform::ElementProperty;

namespace {

constexpr const char* kPeerKey = "kelvane-peer";

GtkAlign AlignOf(platform::HorizontalAlignment alignment) {
    switch (alignment) {
        case platform::HorizontalAlignment::Left:
            return GTK_ALIGN_START;
        case platform::HorizontalAlignment::Center:
            return GTK_ALIGN_CENTER;
        case platform::HorizontalAlignment::Right:
            return GTK_ALIGN_END;
        case platform::HorizontalAlignment::Stretch:
            break;
    }
    return GTK_ALIGN_FILL;
}

GtkAlign AlignOf(platform::VerticalAlignment alignment) {
    switch (alignment) {
        case platform::VerticalAlignment::Top:
            return GTK_ALIGN_START;
        case platform::VerticalAlignment::Center:
            return GTK_ALIGN_CENTER;
        case platform::VerticalAlignment::Bottom:
            return GTK_ALIGN_END;
        case platform::VerticalAlignment::Stretch:
            break;
    }
    return GTK_ALIGN_FILL;
}

/// Direction is not inherited: the parts of a compound widget (entry, scroll bars) need it as well.
void SetDirection(GtkWidget* widget, GtkTextDirection direction) {
    gtk_widget_set_direction(widget, direction);
    for (auto* child = gtk_widget_get_first_child(widget); child != nullptr;
         child = gtk_widget_get_next_sibling(child)) {
        if (g_object_get_data(G_OBJECT(child), kPeerKey) == nullptr) {
            SetDirection(child, direction);
        }
    }
}

}  // namespace

GtkPeer::GtkPeer(PeerClient& client, platform::FrameworkElement& element, GtkWidget* widget)
    : m_client(client),
      m_element(element),
      m_widget(Share(widget)),
      // A tool tip that the toolkit is given becomes a description, whose changes are said.
      m_toolTipAsked(
          widget, "query-tooltip",
          [](GtkWidget*, int, int, gboolean, GtkTooltip* toolTip, gpointer self) -> gboolean {
              const auto text = platform::ToValidUtf8(static_cast<GtkPeer*>(self)->ToolTip());
              gtk_tooltip_set_text(toolTip, text.c_str());
              return !text.empty();
          },
          this) {
    g_object_set_data(G_OBJECT(widget), kPeerKey, this);
}

GtkPeer::~GtkPeer() {
    m_client.Forget(*this);
    MakeDragArea(false);
    g_object_set_data(G_OBJECT(Widget()), kPeerKey, nullptr);
    if (gtk_widget_get_parent(Widget()) != nullptr) {
        gtk_widget_unparent(Widget());
    }
}

GtkPeer* GtkPeer::Of(const platform::UIElement& element) {
    return static_cast<GtkPeer*>(element.Peer());
}

GtkPeer* GtkPeer::Around(GtkWidget* widget) {
    for (; widget != nullptr; widget = gtk_widget_get_parent(widget)) {
        if (auto* const peer = g_object_get_data(G_OBJECT(widget), kPeerKey)) {
            return static_cast<GtkPeer*>(peer);
        }
    }
    return nullptr;
}

void GtkPeer::UpdateAll() {
    for (const auto property :
         {ElementProperty::Style, ElementProperty::Text, ElementProperty::Icon, ElementProperty::IsActive,
          ElementProperty::IsEnabled, ElementProperty::Layout, ElementProperty::FlowDirection,
          ElementProperty::Visibility, ElementProperty::Accessibility}) {
        Update(property);
    }
}

void GtkPeer::Update(ElementProperty property) {
    switch (property) {
        case ElementProperty::Visibility:
            gtk_widget_set_visible(Widget(), m_element.Visibility() == platform::Visibility::Visible);
            gtk_widget_set_visible(Outer(), m_element.Visibility() == platform::Visibility::Visible);
            m_client.ContentChanged();
            break;
        case ElementProperty::FlowDirection:
            UpdateDirection();
            break;
        case ElementProperty::Layout:
            UpdateLayout();
            break;
        case ElementProperty::Style:
            UpdateStyle();
            break;
        case ElementProperty::Accessibility:
            UpdateAccessibility();
            break;
        default:
            break;
    }
}

void GtkPeer::Focus() {
    gtk_widget_grab_focus(Widget());
}

bool GtkPeer::ContainsFocus() const {
    return (gtk_widget_get_state_flags(Widget()) & GTK_STATE_FLAG_FOCUS_WITHIN) != 0;
}

bool GtkPeer::IsPointerOver() const {
    return (gtk_widget_get_state_flags(Widget()) & GTK_STATE_FLAG_PRELIGHT) != 0;
}

void GtkPeer::MakeDragArea(bool dragArea) {
    if (dragArea == static_cast<bool>(m_handle)) {
        return;
    }
    auto* const parent = gtk_widget_get_parent(Outer());
    const auto handle = dragArea ? Share(gtk_window_handle_new()) : std::move(m_handle);
    auto* const earlier = dragArea ? Widget() : handle.get();
    auto* const sibling = parent != nullptr ? gtk_widget_get_prev_sibling(earlier) : nullptr;
    if (parent != nullptr) {
        gtk_widget_unparent(earlier);
    }
    if (dragArea) {
        m_handle = Share(handle.get());
        gtk_window_handle_set_child(GTK_WINDOW_HANDLE(handle.get()), Widget());
        gtk_widget_set_visible(handle.get(), gtk_widget_get_visible(Widget()));
    } else {
        gtk_window_handle_set_child(GTK_WINDOW_HANDLE(handle.get()), nullptr);
    }
    if (parent != nullptr) {
        gtk_widget_insert_after(Outer(), parent, sibling);
    }
}

std::vector<Cell> GtkPeer::ChildCells() const {
    std::vector<Cell> cells;
    for (const auto& child : m_element.Children()) {
        if (const auto* const peer = Of(*child);
            peer != nullptr && gtk_widget_get_parent(peer->Outer()) != nullptr) {
            cells.push_back({.Widget = peer->Outer(),
                             .Layout = peer->m_element.Layout(),
                             .Scrolled = peer->Scrolled(),
                             .Fills = dynamic_cast<const platform::InfoBar*>(child.get()) != nullptr});
        }
    }
    return cells;
}

std::vector<GtkWidget*> GtkPeer::ChildWidgets() const {
    std::vector<GtkWidget*> widgets;
    for (const auto& child : m_element.Children()) {
        if (const auto* const peer = Of(*child)) {
            widgets.push_back(peer->Outer());
        }
    }
    return widgets;
}

void GtkPeer::UpdateDirection() {
    const auto direction = m_element.FlowDirection() == platform::FlowDirection::RightToLeft
                               ? GTK_TEXT_DIR_RTL
                               : GTK_TEXT_DIR_LTR;
    SetDirection(Widget(), direction);
    if (m_handle) {
        gtk_widget_set_direction(m_handle.get(), direction);
    }
    m_client.DirectionChanged(m_element);
}

void GtkPeer::UpdateLayout() {
    const auto& layout = m_element.Layout();
    auto* const widget = Widget();
    gtk_widget_set_margin_start(widget, Pixels(layout.Margin.Left));
    gtk_widget_set_margin_top(widget, Pixels(layout.Margin.Top));
    gtk_widget_set_margin_end(widget, Pixels(layout.Margin.Right));
    gtk_widget_set_margin_bottom(widget, Pixels(layout.Margin.Bottom));
    gtk_widget_set_halign(widget, AlignOf(layout.HorizontalAlignment));
    gtk_widget_set_valign(widget, AlignOf(layout.VerticalAlignment));
    const auto request = [](const std::optional<double>& fixed, double least) {
        const double size = std::max(fixed.value_or(0), least);
        return size > 0 ? Pixels(size) : -1;
    };
    gtk_widget_set_size_request(widget, request(layout.Width, layout.MinWidth),
                                request(layout.Height, layout.MinHeight));
    // Cell, limits and spacing are known to the layouts only.
    gtk_widget_queue_resize(widget);
}

void GtkPeer::UpdateStyle() {
    if (!m_styleClass.empty()) {
        gtk_widget_remove_css_class(Widget(), m_styleClass.c_str());
    }
    m_styleClass = platform::ToValidUtf8(m_element.Style());
    if (!m_styleClass.empty()) {
        gtk_widget_add_css_class(Widget(), m_styleClass.c_str());
    }
}

void GtkPeer::Announce(std::u16string_view text) {
    auto* const accessible = GTK_ACCESSIBLE(Widget());
    gtk_accessible_update_property(accessible, GTK_ACCESSIBLE_PROPERTY_DESCRIPTION,
                                   platform::ToValidUtf8(text).c_str(), -1);
    gtk_accessible_reset_property(accessible, GTK_ACCESSIBLE_PROPERTY_DESCRIPTION);
}

void GtkPeer::Relate(GtkAccessibleRelation relation, const std::vector<GtkWidget*>& labels) {
    auto* const accessible = GTK_ACCESSIBLE(Widget());
    if (labels.empty()) {
        gtk_accessible_reset_relation(accessible, relation);
        return;
    }
    GList* list = nullptr;
    for (auto* const label : labels) {
        list = g_list_append(list, label);
    }
    GValue value = G_VALUE_INIT;
    gtk_accessible_relation_init_value(relation, &value);
    g_value_set_pointer(&value, list);
    gtk_accessible_update_relation_value(accessible, 1, &relation, &value);
    g_value_unset(&value);
}

void GtkPeer::UpdateName(const std::string& name) {
    gtk_accessible_update_property(GTK_ACCESSIBLE(Widget()), GTK_ACCESSIBLE_PROPERTY_LABEL, name.c_str(), -1);
}

void GtkPeer::UpdateAccessibility() {
    const auto& accessibility = m_element.Accessibility();
    auto* const accessible = GTK_ACCESSIBLE(Widget());
    const auto name = platform::ToValidUtf8(accessibility.Name);
    if (!name.empty()) {
        UpdateName(name);
    }
    if (accessibility.HeadingLevel > 0) {
        gtk_accessible_update_property(accessible, GTK_ACCESSIBLE_PROPERTY_LEVEL, accessibility.HeadingLevel,
                                       -1);
    }
    if (accessibility.IsExpanded) {
        gtk_accessible_update_state(accessible, GTK_ACCESSIBLE_STATE_EXPANDED,
                                    static_cast<int>(*accessibility.IsExpanded), -1);
    }
    const auto labels = [this](const platform::UIElement* other) -> std::vector<GtkWidget*> {
        const auto* const text = other != nullptr ? Of(*other) : nullptr;
        if (other != nullptr && text == nullptr) {
            m_client.AwaitLabel(*this);
        }
        return text != nullptr ? std::vector{text->Widget()} : std::vector<GtkWidget*>();
    };
    if (name.empty()) {
        Relate(GTK_ACCESSIBLE_RELATION_LABELLED_BY, labels(accessibility.LabeledBy));
    }
    auto descriptions = labels(accessibility.DescribedBy);
    if (!accessibility.ToolTip.empty()) {
        if (!m_toolTip) {
            m_toolTip = Share(gtk_label_new(nullptr));
        }
        gtk_label_set_text(GTK_LABEL(m_toolTip.get()), platform::ToValidUtf8(accessibility.ToolTip).c_str());
        descriptions.push_back(m_toolTip.get());
    }
    gtk_widget_set_has_tooltip(Widget(), !ToolTip().empty());
    Relate(GTK_ACCESSIBLE_RELATION_DESCRIBED_BY, descriptions);
}

}  // namespace desktop
