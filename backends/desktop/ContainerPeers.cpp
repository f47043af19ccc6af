// Grid, StackPanel, ScrollViewer, Button, and every other element with one content.

#include "backends/desktop/ElementWidget.h"
#include "backends/desktop/Peers.h"
#include "platform/core/Text.h"
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
    virtual desktop::Layout Layout() const = 0;

  private:
    GObjectPtr<GtkWidget> m_box;
};

class GridPeer final : public ContainerPeer {
  public:
    GridPeer(PeerClient& client, platform::Grid& grid, GtkWidget* widget = NewElementWidget())
        : ContainerPeer(client, grid, widget, widget), m_grid(grid) {}

  private:
    desktop::Layout Layout() const override {
        return CellLayout{.Rows = m_grid.RowDefinitions(),
                          .Columns = m_grid.ColumnDefinitions(),
                          .RowSpacing = m_grid.RowSpacing(),
                          .ColumnSpacing = m_grid.ColumnSpacing(),
                          .Padding = m_grid.Padding(),
                          .StackBelow = m_grid.StackBelow(),
                          .StackSpacing = m_grid.StackSpacing(),
                          .CenterAbove = m_grid.CenterAbove(),
                          .Cells = ChildCells()};
    }

    platform::Grid& m_grid;
};

class StackPeer final : public ContainerPeer {
  public:
    StackPeer(PeerClient& client, platform::StackPanel& stack, GtkWidget* widget = NewElementWidget())
        : ContainerPeer(client, stack, widget, widget), m_stack(stack) {}

  private:
    desktop::Layout Layout() const override {
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

class WrapPeer final : public ContainerPeer {
  public:
    WrapPeer(PeerClient& client, platform::WrapPanel& panel, GtkWidget* widget = NewElementWidget())
        : ContainerPeer(client, panel, widget, widget), m_panel(panel) {}

  private:
    desktop::Layout Layout() const override {
        return WrapLayout{.HorizontalSpacing = m_panel.HorizontalSpacing(),
                          .VerticalSpacing = m_panel.VerticalSpacing(),
                          .Padding = m_panel.Padding(),
                          .Cells = ChildCells(),
                          .LastLineOf = LastLineOf};
    }

    platform::WrapPanel& m_panel;
};

class ContentPeer : public ContainerPeer {
  public:
    ContentPeer(PeerClient& client, platform::ContentControl& control, GtkWidget* widget = NewElementWidget())
        : ContentPeer(client, control, widget, widget) {}

  protected:
    ContentPeer(PeerClient& client, platform::ContentControl& control, GtkWidget* widget, GtkWidget* box)
        : ContainerPeer(client, control, widget, box), m_control(control) {}

  private:
    desktop::Layout Layout() const override {
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
        : ContentPeer(client, viewer, gtk_scrolled_window_new(), box), m_viewer(viewer), m_box(box) {
        auto* const scrolled = GTK_SCROLLED_WINDOW(Widget());
        gtk_scrolled_window_set_policy(scrolled, GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
        gtk_scrolled_window_set_propagate_natural_height(scrolled, TRUE);
        // The bar never covers the content.
        gtk_scrolled_window_set_overlay_scrolling(scrolled, FALSE);
        gtk_scrolled_window_set_min_content_height(scrolled, 0);
        gtk_scrolled_window_set_child(scrolled, box);
        auto* const adjustment = gtk_scrolled_window_get_vadjustment(scrolled);
        m_changed = Signal(
            adjustment, "changed",
            [](GtkAdjustment*, gpointer self) { static_cast<ScrollViewerPeer*>(self)->ExtentChanged(); },
            this);
        ExtentChanged();
    }

    GtkWidget* Scrolled() const override { return m_box; }

  private:
    void ExtentChanged() {
        auto* const adjustment = gtk_scrolled_window_get_vadjustment(GTK_SCROLLED_WINDOW(Widget()));
        m_viewer.ScrollableHeight(gtk_adjustment_get_upper(adjustment) -
                                  gtk_adjustment_get_page_size(adjustment));
        gtk_widget_set_focusable(Widget(), m_viewer.IsTabStop());
    }

    platform::ScrollViewer& m_viewer;
    /// Owned by the widget.
    GtkWidget* m_box;
    Signal m_changed;
};

class ButtonPeer final : public ContentPeer {
  public:
    ButtonPeer(PeerClient& client, platform::Button& button, GtkWidget* box = NewElementWidget())
        : ContentPeer(client, button, gtk_button_new(), box),
          m_button(button),
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
            FindName();
        } else if (property == ElementProperty::IsEnabled) {
            gtk_widget_set_sensitive(Widget(), m_button.IsEnabled());
            Client().ContentChanged();
        }
    }

    void TextBelowChanged() override { FindName(); }

  private:
    /// A changed property would be said: the old name once more when it comes back after "Copied".
    void UpdateName(const std::string& name) override {
        if (!m_name) {
            m_name = Share(gtk_label_new(nullptr));
            Relate(GTK_ACCESSIBLE_RELATION_LABELLED_BY, {m_name.get()});
        }
        gtk_label_set_text(GTK_LABEL(m_name.get()), name.c_str());
    }

    /// A button without text shows its name in a tool tip, which is no description: it would be read twice.
    std::u16string ToolTip() const override {
        const auto& accessibility = Element().Accessibility();
        return accessibility.ToolTip.empty() && m_isIcon ? accessibility.Name : accessibility.ToolTip;
    }

    /// The name of a button without one is the text in it.
    void FindName() {
        const auto& accessibility = Element().Accessibility();
        std::vector<GtkWidget*> texts;
        for (const auto& child : Element().Children()) {
            AddTexts(*child, texts);
        }
        m_isIcon = texts.empty();
        gtk_widget_set_has_tooltip(Widget(), !ToolTip().empty());
        if (!texts.empty() && accessibility.Name.empty() && accessibility.LabeledBy == nullptr) {
            Relate(GTK_ACCESSIBLE_RELATION_LABELLED_BY, texts);
        }
    }

    static void AddTexts(const platform::UIElement& element, std::vector<GtkWidget*>& texts) {
        if (element.Visibility() == platform::Visibility::Collapsed) {
            return;
        }
        if (const auto* const peer = Of(element);
            peer != nullptr && dynamic_cast<const platform::TextBlock*>(&element) != nullptr) {
            texts.push_back(peer->Widget());
        }
        for (const auto& child : element.Children()) {
            AddTexts(*child, texts);
        }
    }

    platform::Button& m_button;
    Signal m_clicked;
    bool m_isIcon = false;
    /// Not on the screen. Null for a button that is called by the text in it.
    GObjectPtr<GtkWidget> m_name;
};

}  // namespace

std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::Grid& element) {
    return std::make_unique<GridPeer>(client, element);
}

std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::StackPanel& element) {
    return std::make_unique<StackPeer>(client, element);
}

std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::WrapPanel& element) {
    return std::make_unique<WrapPeer>(client, element);
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
