// TextBlock as a label, TextBox as an entry: both offer their text to assistive technology.

#include "backends/desktop/Peers.h"
#include "platform/core/Text.h"
#include "platform/xaml/Controls.h"

namespace desktop {

using platform::ElementProperty;

namespace {

/// Whether the text runs against the direction of its element: the toolkit would put it to the other side.
bool RunsAgainst(GtkWidget* widget, const char* text) {
    const GObjectPtr<PangoLayout> layout(gtk_widget_create_pango_layout(widget, text));
    const auto direction =
        pango_layout_line_get_resolved_direction(pango_layout_get_line_readonly(layout.get(), 0));
    return (direction == PANGO_DIRECTION_RTL) != (gtk_widget_get_direction(widget) == GTK_TEXT_DIR_RTL);
}

class TextBlockPeer final : public GtkPeer {
  public:
    TextBlockPeer(PeerClient& client, platform::TextBlock& text)
        : GtkPeer(client, text, NewLabel(text)), m_text(text) {}

    void Update(ElementProperty property) override {
        GtkPeer::Update(property);
        if (property == ElementProperty::FlowDirection) {
            UpdateAlignment();
        }
        if (property != ElementProperty::Text) {
            return;
        }
        auto* const label = GTK_LABEL(Widget());
        const bool wrap = m_text.TextWrapping() == platform::TextWrapping::Wrap;
        gtk_label_set_wrap(label, wrap);
        gtk_label_set_ellipsize(label, wrap ? PANGO_ELLIPSIZE_NONE : PANGO_ELLIPSIZE_END);
        if (gtk_label_get_selectable(label) != static_cast<gboolean>(m_text.IsTextSelectionEnabled())) {
            gtk_label_set_selectable(label, m_text.IsTextSelectionEnabled());
        }
        gtk_label_set_text(label, platform::ToValidUtf8(m_text.Text()).c_str());
        UpdateAlignment();
        if (m_text.Accessibility().LabeledBy != nullptr) {
            // The toolkit has made the text the name as well: a value is called by its label alone.
            gtk_accessible_reset_property(GTK_ACCESSIBLE(label), GTK_ACCESSIBLE_PROPERTY_LABEL);
        }
    }

  private:
    /// The role is fixed when the widget is made.
    static GtkWidget* NewLabel(const platform::TextBlock& text) {
        const auto role =
            text.Accessibility().HeadingLevel > 0 ? GTK_ACCESSIBLE_ROLE_HEADING : GTK_ACCESSIBLE_ROLE_LABEL;
        // A hyphen at the end of a line would be read as part of the value.
        const std::unique_ptr<PangoAttrList, FreeWith<pango_attr_list_unref>> attributes(
            pango_attr_list_new());
        pango_attr_list_insert(attributes.get(), pango_attr_insert_hyphens_new(FALSE));
        return static_cast<GtkWidget*>(g_object_new(GTK_TYPE_LABEL, "accessible-role", role, "xalign", 0.0F,
                                                    "wrap-mode", PANGO_WRAP_WORD_CHAR, "attributes",
                                                    attributes.get(), nullptr));
    }

    /// The lines of a wrapped text begin where the element does.
    void UpdateAlignment() {
        auto* const label = GTK_LABEL(Widget());
        gtk_label_set_justify(
            label, RunsAgainst(Widget(), gtk_label_get_text(label)) ? GTK_JUSTIFY_RIGHT : GTK_JUSTIFY_LEFT);
    }

    platform::TextBlock& m_text;
};

class TextBoxPeer final : public GtkPeer {
  public:
    TextBoxPeer(PeerClient& client, platform::TextBox& box)
        : GtkPeer(client, box, gtk_entry_new()),
          m_box(box),
          m_changed(
              Widget(), "changed",
              [](GtkEditable*, gpointer self) { static_cast<TextBoxPeer*>(self)->Changed(); }, this) {
        auto* const focus = gtk_event_controller_focus_new();
        gtk_widget_add_controller(Widget(), focus);
        m_focused = Signal(
            focus, "enter",
            [](GtkEventControllerFocus*, gpointer self) { static_cast<TextBoxPeer*>(self)->Entered(); },
            this);
        m_toolTip = Signal(
            Widget(), "query-tooltip",
            [](GtkWidget*, int, int, gboolean, GtkTooltip* toolTip, gpointer self) -> gboolean {
                return static_cast<TextBoxPeer*>(self)->ShowWhole(toolTip);
            },
            this);
    }

    void Update(ElementProperty property) override {
        GtkPeer::Update(property);
        auto* const editable = GTK_EDITABLE(Widget());
        if (property == ElementProperty::Text) {
            gtk_editable_set_editable(editable, !m_box.IsReadOnly());
            const auto text = platform::ToValidUtf8(m_box.Text());
            if (text != gtk_editable_get_text(editable)) {
                gtk_editable_set_text(editable, text.c_str());
                // An overlong value shows its start; the tool tip holds all of it.
                gtk_editable_set_position(editable, 0);
            }
            UpdateWidth();
            UpdateAlignment();
        } else if (property == ElementProperty::FlowDirection) {
            UpdateAlignment();
        } else if (property == ElementProperty::Selection) {
            gtk_editable_select_region(editable, 0, m_box.SelectionLength() == m_box.Text().size() ? -1 : 0);
        } else if (property == ElementProperty::Accessibility) {
            // The query-tooltip signal is wanted even if the element has no tool tip.
            gtk_widget_set_has_tooltip(Widget(), TRUE);
        }
    }

  private:
    void Changed() {
        if (!m_box.IsReadOnly()) {
            m_box.Text(platform::FromUtf8(gtk_editable_get_text(GTK_EDITABLE(Widget()))));
        }
    }

    /// Pixels that the text takes.
    int TextWidth() const {
        const GObjectPtr<PangoLayout> layout(
            gtk_widget_create_pango_layout(Widget(), gtk_editable_get_text(GTK_EDITABLE(Widget()))));
        int width = 0;
        pango_layout_get_pixel_size(layout.get(), &width, nullptr);
        return width;
    }

    /// As wide as its text where there is room, and as narrow as its place. The toolkit counts in average
    /// characters.
    void UpdateWidth() {
        const std::unique_ptr<PangoFontMetrics, FreeWith<pango_font_metrics_unref>> metrics(
            pango_context_get_metrics(gtk_widget_get_pango_context(Widget()), nullptr, nullptr));
        const int character =
            std::max({PANGO_SCALE, pango_font_metrics_get_approximate_char_width(metrics.get()),
                      pango_font_metrics_get_approximate_digit_width(metrics.get())});
        constexpr int kLeastCharacters = 4;
        auto* const editable = GTK_EDITABLE(Widget());
        gtk_editable_set_width_chars(editable, kLeastCharacters);
        const int pixels = PANGO_PIXELS_CEIL(character);
        gtk_editable_set_max_width_chars(editable,
                                         std::max(kLeastCharacters, (TextWidth() + pixels - 1) / pixels));
    }

    /// The text stands at the label's side of the box in both directions of writing.
    void UpdateAlignment() {
        auto* const editable = GTK_EDITABLE(Widget());
        gtk_editable_set_alignment(editable, RunsAgainst(Widget(), gtk_editable_get_text(editable)) ? 1 : 0);
    }

    /// A text that its box cuts off is shown whole in the tool tip, unless the element has another. (Set as
    /// the widget's tool tip, it would be read out as the description.)
    bool ShowWhole(GtkTooltip* toolTip) {
        auto* const editable = GTK_EDITABLE(Widget());
        if (!m_box.Accessibility().ToolTip.empty() ||
            TextWidth() <= gtk_widget_get_width(GTK_WIDGET(gtk_editable_get_delegate(editable)))) {
            return false;
        }
        gtk_tooltip_set_text(toolTip, gtk_editable_get_text(editable));
        return true;
    }

    /// Reached by the keyboard, the box shows all of its text as selected; a click places the caret
    /// afterwards.
    void Entered() { gtk_editable_select_region(GTK_EDITABLE(Widget()), 0, -1); }

    platform::TextBox& m_box;
    Signal m_changed;
    Signal m_focused;
    Signal m_toolTip;
};

}  // namespace

std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::TextBlock& element) {
    return std::make_unique<TextBlockPeer>(client, element);
}

std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::TextBox& element) {
    return std::make_unique<TextBoxPeer>(client, element);
}

}  // namespace desktop
