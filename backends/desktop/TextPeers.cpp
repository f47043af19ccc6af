// TextBlock and TextBox.

#include "backends/desktop/Peers.h"
#include "platform/core/Exception.h"
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

/// A text as a label, which offers its text to assistive technology.
class LabelPeer : public GtkPeer {
  protected:
    LabelPeer(PeerClient& client, platform::FrameworkElement& element, GtkAccessibleRole role)
        : GtkPeer(client, element, NewLabel(role)) {}

    GtkLabel* Label() const { return GTK_LABEL(Widget()); }

    /// An identifier may be longer than its place: `isValue` lets it break anywhere. Other words stay whole.
    void Show(const std::u16string& text, bool wrap, bool isValue) {
        auto* const label = Label();
        gtk_label_set_wrap(label, wrap);
        gtk_label_set_wrap_mode(label, isValue ? PANGO_WRAP_WORD_CHAR : PANGO_WRAP_WORD);
        if (gtk_label_get_selectable(label) != static_cast<gboolean>(isValue)) {
            gtk_label_set_selectable(label, isValue);
        }
        gtk_label_set_text(label, platform::ToValidUtf8(text).c_str());
        UpdateAlignment();
        if (Element().Accessibility().LabeledBy != nullptr) {
            // The toolkit has made the text the name as well: a value is called by its label alone.
            gtk_accessible_reset_property(GTK_ACCESSIBLE(label), GTK_ACCESSIBLE_PROPERTY_LABEL);
        }
    }

    void Update(ElementProperty property) override {
        GtkPeer::Update(property);
        if (property == ElementProperty::FlowDirection) {
            UpdateAlignment();
        } else if (property == ElementProperty::Visibility) {
            for (auto* above = Element().Parent(); above != nullptr && Of(*above) != nullptr;
                 above = above->Parent()) {
                Of(*above)->TextBelowChanged();
            }
        }
    }

  private:
    /// The role is fixed when the widget is made.
    static GtkWidget* NewLabel(GtkAccessibleRole role) {
        // A hyphen at the end of a line would be read as part of the value.
        const std::unique_ptr<PangoAttrList, FreeWith<pango_attr_list_unref>> attributes(
            pango_attr_list_new());
        pango_attr_list_insert(attributes.get(), pango_attr_insert_hyphens_new(FALSE));
        return static_cast<GtkWidget*>(g_object_new(GTK_TYPE_LABEL, "accessible-role", role, "xalign", 0.0F,
                                                    "attributes", attributes.get(), nullptr));
    }

    /// The lines of a wrapped text begin where the element does.
    void UpdateAlignment() {
        gtk_label_set_justify(Label(), RunsAgainst(Widget(), gtk_label_get_text(Label())) ? GTK_JUSTIFY_RIGHT
                                                                                          : GTK_JUSTIFY_LEFT);
    }
};

class TextBlockPeer final : public LabelPeer {
  public:
    TextBlockPeer(PeerClient& client, platform::TextBlock& text)
        : LabelPeer(client, text,
                    text.Accessibility().HeadingLevel > 0 ? GTK_ACCESSIBLE_ROLE_HEADING
                                                          : GTK_ACCESSIBLE_ROLE_LABEL),
          m_text(text) {}

    void Update(ElementProperty property) override {
        LabelPeer::Update(property);
        if (property == ElementProperty::Text) {
            const bool trim = m_text.TextTrimming() == platform::TextTrimming::CharacterEllipsis;
            gtk_label_set_ellipsize(Label(), trim ? PANGO_ELLIPSIZE_END : PANGO_ELLIPSIZE_NONE);
            Show(m_text.ShownText(), m_text.TextWrapping() == platform::TextWrapping::Wrap,
                 m_text.IsTextSelectionEnabled());
        }
    }

  private:
    platform::TextBlock& m_text;
};

/// Only boxes that cannot be written into: the toolkit's entry would cut a text that is longer than its
/// place.
class TextBoxPeer final : public LabelPeer {
  public:
    TextBoxPeer(PeerClient& client, platform::TextBox& box)
        : LabelPeer(client, box, GTK_ACCESSIBLE_ROLE_TEXT_BOX), m_box(box) {
        if (!box.IsReadOnly()) {
            throw platform::Exception(platform::result::kNoInterface,
                                      u"The window cannot show a box that is written into.");
        }
        gtk_accessible_update_property(GTK_ACCESSIBLE(Widget()), GTK_ACCESSIBLE_PROPERTY_READ_ONLY, TRUE, -1);
    }

    void Update(ElementProperty property) override {
        LabelPeer::Update(property);
        if (property == ElementProperty::Text) {
            Show(m_box.Text(), true, true);
        } else if (property == ElementProperty::Selection) {
            gtk_label_select_region(Label(), 0, m_box.SelectionLength() == m_box.Text().size() ? -1 : 0);
        }
    }

  private:
    platform::TextBox& m_box;
};

}  // namespace

std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::TextBlock& element) {
    return std::make_unique<TextBlockPeer>(client, element);
}

std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::TextBox& element) {
    return std::make_unique<TextBoxPeer>(client, element);
}

}  // namespace desktop
