// Grid, StackPanel, ScrollViewer, Button, and every other element with one content.

#include "backends/desktop/DesktopWindow.h"
#include "backends/desktop/ElementWidget.h"
#include "backends/desktop/Peers.h"
#include "platform/xaml/Controls.h"

namespace desktop {

using platform::ElementProperty;

namespace {

/// An element whose children stand in `box`, a widget with a layout: the peer's own, or one inside it.
class ContainerPeer : public Peer {
  public:
    using Layout = std::function<CellLayout()>;

    ContainerPeer(DesktopWindow& window, platform::FrameworkElement& element, GtkWidget* widget,
                  GtkWidget* box)
        : Peer(window, element, widget), m_box(Share(box)) {}

    ~ContainerPeer() override { ForgetLayout(m_box.get()); }

    void Update(ElementProperty property) override {
        Peer::Update(property);
        if (property == ElementProperty::Children) {
            SetChildren(m_box.get(), ChildWidgets());
            Window().ContentChanged();
        } else if (property == ElementProperty::Layout) {
            gtk_widget_queue_resize(m_box.get());
        }
    }

  private:
    GObjectPtr<GtkWidget> m_box;
};

}  // namespace

std::unique_ptr<Peer> NewPeer(DesktopWindow& window, platform::Grid& element) {
    class GridPeer final : public ContainerPeer {
      public:
        GridPeer(DesktopWindow& window, platform::Grid& grid)
            : GridPeer(window, grid, NewElementWidget([this, &grid] {
                           return CellLayout{.rows = grid.RowDefinitions(),
                                             .columns = grid.ColumnDefinitions(),
                                             .rowSpacing = grid.RowSpacing(),
                                             .columnSpacing = grid.ColumnSpacing(),
                                             .padding = grid.Padding(),
                                             .cells = ChildCells()};
                       })) {}

      private:
        GridPeer(DesktopWindow& window, platform::Grid& grid, GtkWidget* widget)
            : ContainerPeer(window, grid, widget, widget) {}
    };
    return std::make_unique<GridPeer>(window, element);
}

std::unique_ptr<Peer> NewPeer(DesktopWindow& window, platform::StackPanel& element) {
    class StackPeer final : public ContainerPeer {
      public:
        StackPeer(DesktopWindow& window, platform::StackPanel& stack)
            : StackPeer(window, stack, NewElementWidget([this, &stack] { return LayoutOf(stack); })) {}

      private:
        StackPeer(DesktopWindow& window, platform::StackPanel& stack, GtkWidget* widget)
            : ContainerPeer(window, stack, widget, widget) {}

        CellLayout LayoutOf(const platform::StackPanel& stack) const {
            CellLayout layout{.padding = stack.Padding(), .cells = ChildCells()};
            const bool vertical = stack.Orientation() == platform::Orientation::Vertical;
            (vertical ? layout.rowSpacing : layout.columnSpacing) = stack.Spacing();
            (vertical ? layout.rows : layout.columns)
                .assign(std::max<std::size_t>(layout.cells.size(), 1), platform::GridLength::Auto);
            int index = 0;
            for (auto& cell : layout.cells) {
                cell.layout.Row = vertical ? index : 0;
                cell.layout.Column = vertical ? 0 : index;
                cell.layout.RowSpan = cell.layout.ColumnSpan = 1;
                ++index;
            }
            return layout;
        }
    };
    return std::make_unique<StackPeer>(window, element);
}

namespace {

class ContentPeer : public ContainerPeer {
  public:
    ContentPeer(DesktopWindow& window, platform::ContentControl& element)
        : ContentPeer(window, element, nullptr, NewBox(element)) {}

  protected:
    /// `widget` null: the box is the peer's widget.
    ContentPeer(DesktopWindow& window, platform::ContentControl& element, GtkWidget* widget, GtkWidget* box)
        : ContainerPeer(window, element, widget != nullptr ? widget : box, box) {}

    GtkWidget* NewBox(platform::ContentControl& element) {
        return NewElementWidget([this, &element] {
            CellLayout layout{.padding = element.Padding(), .cells = ChildCells()};
            for (auto& cell : layout.cells) {
                cell.layout.Row = cell.layout.Column = 0;
                cell.layout.RowSpan = cell.layout.ColumnSpan = 1;
            }
            return layout;
        });
    }
};

class ScrollViewerPeer final : public ContentPeer {
  public:
    ScrollViewerPeer(DesktopWindow& window, platform::ScrollViewer& element)
        : ScrollViewerPeer(window, element, gtk_scrolled_window_new(), NewBox(element)) {}

  private:
    ScrollViewerPeer(DesktopWindow& window, platform::ScrollViewer& element, GtkWidget* scroller,
                     GtkWidget* box)
        : ContentPeer(window, element, scroller, box) {
        auto* const scrolled = GTK_SCROLLED_WINDOW(scroller);
        gtk_scrolled_window_set_policy(scrolled, GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
        gtk_scrolled_window_set_propagate_natural_height(scrolled, TRUE);
        gtk_scrolled_window_set_min_content_height(scrolled, 0);
        gtk_scrolled_window_set_child(scrolled, box);
    }
};

class ButtonPeer final : public ContentPeer {
  public:
    ButtonPeer(DesktopWindow& window, platform::Button& button)
        : ButtonPeer(window, button, gtk_button_new(), NewBox(button)) {}

    void Update(ElementProperty property) override {
        ContentPeer::Update(property);
        if (property == ElementProperty::Children || property == ElementProperty::Accessibility) {
            UpdateName();
        }
    }

  private:
    ButtonPeer(DesktopWindow& window, platform::Button& button, GtkWidget* widget, GtkWidget* box)
        : ContentPeer(window, button, widget, box),
          m_clicked(
              widget, "clicked",
              [](GtkButton*, gpointer data) { static_cast<platform::Button*>(data)->Invoke(); }, &button) {
        // A button wider than its content has it in the middle.
        gtk_widget_set_halign(box, GTK_ALIGN_CENTER);
        gtk_widget_set_valign(box, GTK_ALIGN_CENTER);
        gtk_button_set_child(GTK_BUTTON(widget), box);
        gtk_widget_set_focus_on_click(widget, TRUE);
    }

    /// A button without a name of its own is called by the text in it.
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

std::unique_ptr<Peer> NewPeer(DesktopWindow& window, platform::ContentControl& element) {
    return std::make_unique<ContentPeer>(window, element);
}

std::unique_ptr<Peer> NewPeer(DesktopWindow& window, platform::ScrollViewer& element) {
    return std::make_unique<ScrollViewerPeer>(window, element);
}

std::unique_ptr<Peer> NewPeer(DesktopWindow& window, platform::Button& element) {
    return std::make_unique<ButtonPeer>(window, element);
}

}  // namespace desktop
