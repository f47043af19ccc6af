// Grid, StackPanel, ScrollViewer, Button, and every other element with one content.

#include "backends/desktop/ElementWidget.h"
#include "backends/desktop/Peers.h"
#include "platform/xaml/Controls.h"

namespace desktop {

using platform::ElementProperty;

namespace {

/// An element whose children stand in `box`, an element widget: the peer's own widget, or one inside it.
class ContainerPeer : public GtkPeer {
  public:
    ContainerPeer(PeerClient& client, platform::FrameworkElement& element, GtkWidget* widget, GtkWidget* box)
        : GtkPeer(client, element, widget), m_box(Share(box)) {
        SetLayout(box, [this] { return Layout(); });
    }

    ~ContainerPeer() override { SetLayout(m_box.get(), nullptr); }

    void Update(ElementProperty property) override {
        GtkPeer::Update(property);
        if (property == ElementProperty::Children) {
            SetChildren(m_box.get(), ChildWidgets());
            Client().ContentChanged();
        } else if (property == ElementProperty::Layout) {
            gtk_widget_queue_resize(m_box.get());
        }
    }

  protected:
    virtual CellLayout Layout() const = 0;

  private:
    GObjectPtr<GtkWidget> m_box;
};

class GridPeer final : public ContainerPeer {
  public:
    GridPeer(PeerClient& client, platform::Grid& grid, GtkWidget* widget = NewElementWidget())
        : ContainerPeer(client, grid, widget, widget), m_grid(grid) {}

  private:
    CellLayout Layout() const override {
        return {.Rows = m_grid.RowDefinitions(),
                .Columns = m_grid.ColumnDefinitions(),
                .RowSpacing = m_grid.RowSpacing(),
                .ColumnSpacing = m_grid.ColumnSpacing(),
                .Padding = m_grid.Padding(),
                .Cells = ChildCells()};
    }

    platform::Grid& m_grid;
};

class StackPeer final : public ContainerPeer {
  public:
    StackPeer(PeerClient& client, platform::StackPanel& stack, GtkWidget* widget = NewElementWidget())
        : ContainerPeer(client, stack, widget, widget), m_stack(stack) {}

  private:
    CellLayout Layout() const override {
        CellLayout layout{.Padding = m_stack.Padding(), .Cells = ChildCells()};
        const bool vertical = m_stack.Orientation() == platform::Orientation::Vertical;
        (vertical ? layout.RowSpacing : layout.ColumnSpacing) = m_stack.Spacing();
        (vertical ? layout.Rows : layout.Columns)
            .assign(std::max<std::size_t>(layout.Cells.size(), 1), platform::GridLength::Auto);
        int index = 0;
        for (auto& cell : layout.Cells) {
            cell.Layout.Row = vertical ? index : 0;
            cell.Layout.Column = vertical ? 0 : index;
            cell.Layout.RowSpan = cell.Layout.ColumnSpan = 1;
            ++index;
        }
        return layout;
    }

    platform::StackPanel& m_stack;
};

class ContentPeer : public ContainerPeer {
  public:
    ContentPeer(PeerClient& client, platform::ContentControl& control, GtkWidget* widget = NewElementWidget())
        : ContentPeer(client, control, widget, widget) {}

  protected:
    ContentPeer(PeerClient& client, platform::ContentControl& control, GtkWidget* widget, GtkWidget* box)
        : ContainerPeer(client, control, widget, box), m_control(control) {}

  private:
    CellLayout Layout() const override {
        CellLayout layout{.Padding = m_control.Padding(), .Cells = ChildCells()};
        for (auto& cell : layout.Cells) {
            cell.Layout.Row = cell.Layout.Column = 0;
            cell.Layout.RowSpan = cell.Layout.ColumnSpan = 1;
        }
        return layout;
    }

    platform::ContentControl& m_control;
};

class ScrollViewerPeer final : public ContentPeer {
  public:
    ScrollViewerPeer(PeerClient& client, platform::ScrollViewer& viewer, GtkWidget* box = NewElementWidget())
        : ContentPeer(client, viewer, gtk_scrolled_window_new(), box), m_viewer(viewer) {
        auto* const scrolled = GTK_SCROLLED_WINDOW(Widget());
        gtk_scrolled_window_set_policy(scrolled, GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
        gtk_scrolled_window_set_propagate_natural_height(scrolled, TRUE);
        gtk_scrolled_window_set_min_content_height(scrolled, 0);
        gtk_scrolled_window_set_child(scrolled, box);
        auto* const adjustment = gtk_scrolled_window_get_vadjustment(scrolled);
        m_changed = Signal(
            adjustment, "changed",
            [](GtkAdjustment*, gpointer self) { static_cast<ScrollViewerPeer*>(self)->ExtentChanged(); },
            this);
        ExtentChanged();
    }

  private:
    void ExtentChanged() {
        auto* const adjustment = gtk_scrolled_window_get_vadjustment(GTK_SCROLLED_WINDOW(Widget()));
        m_viewer.ScrollableHeight(gtk_adjustment_get_upper(adjustment) -
                                  gtk_adjustment_get_page_size(adjustment));
        gtk_widget_set_focusable(Widget(), m_viewer.IsTabStop());
    }

    platform::ScrollViewer& m_viewer;
    Signal m_changed;
};

class ButtonPeer final : public ContentPeer {
  public:
    ButtonPeer(PeerClient& client, platform::Button& button, GtkWidget* box = NewElementWidget())
        : ContentPeer(client, button, gtk_button_new(), box),
          m_clicked(
              Widget(), "clicked",
              [](GtkButton*, gpointer data) { static_cast<platform::Button*>(data)->Invoke(); }, &button) {
        // A button wider than its content has it in the middle.
        gtk_widget_set_halign(box, GTK_ALIGN_CENTER);
        gtk_widget_set_valign(box, GTK_ALIGN_CENTER);
        gtk_button_set_child(GTK_BUTTON(Widget()), box);
    }

    void Update(ElementProperty property) override {
        ContentPeer::Update(property);
        if (property == ElementProperty::Children || property == ElementProperty::Accessibility) {
            UpdateName();
        }
    }

  private:
    /// The name of a button without one is the text in it.
    void UpdateName() {
        const auto& accessibility = Element().Accessibility();
        const auto children = Element().Children();
        if (!accessibility.Name.empty() || accessibility.LabeledBy != nullptr || children.empty()) {
            return;
        }
        const auto* const text = dynamic_cast<platform::TextBlock*>(children.front());
        if (const auto* const peer = text != nullptr ? Of(*text) : nullptr) {
            gtk_accessible_update_relation(GTK_ACCESSIBLE(Widget()), GTK_ACCESSIBLE_RELATION_LABELLED_BY,
                                           GTK_ACCESSIBLE(peer->Widget()), nullptr, -1);
        }
    }

    Signal m_clicked;
};

}  // namespace

std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::Grid& element) {
    return std::make_unique<GridPeer>(client, element);
}

std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::StackPanel& element) {
    return std::make_unique<StackPeer>(client, element);
}

std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::ContentControl& element) {
    return std::make_unique<ContentPeer>(client, element);
}

std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::ScrollViewer& element) {
    return std::make_unique<ScrollViewerPeer>(client, element);
}

std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::Button& element) {
    return std::make_unique<ButtonPeer>(client, element);
}

}  // namespace desktop
