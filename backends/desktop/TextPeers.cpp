// TextBlock and TextBox.

#include <algorithm>
#include <cstring>
#include <utility>

#include "backends/desktop/Peers.h"
#include "platform/core/Exception.h"
#include "platform/core/Text.h"
#include "platform/xaml/Controls.h"

namespace desktop {

using platform::ElementProperty;

namespace {

/// Whether the text's first line runs against the direction of its element: the toolkit would put it to the
/// other side.
bool RunsAgainst(GtkWidget* widget, const char* text) {
    const bool isElementMirrored = gtk_widget_get_direction(widget) == GTK_TEXT_DIR_RTL;
    // A text without letters has its element's direction. A layout would say the same, but looks for fonts
    // first.
    auto direction = isElementMirrored ? PANGO_DIRECTION_WEAK_RTL : PANGO_DIRECTION_WEAK_LTR;
    g_free(pango_log2vis_get_embedding_levels(text, static_cast<int>(std::strcspn(text, "\n")), &direction));
    return (direction == PANGO_DIRECTION_RTL || direction == PANGO_DIRECTION_WEAK_RTL) != isElementMirrored;
}

/// The text with the toolkit's mark before the letter that clicks the button it stands in; nothing where
/// there is no such letter.
std::string WithMnemonic(const std::u16string& text, const platform::UIElement& element) {
    const auto* above = element.Parent();
    while (above != nullptr && dynamic_cast<const platform::Button*>(above) == nullptr) {
        above = above->Parent();
    }
    const char16_t key = above != nullptr ? dynamic_cast<const platform::Button*>(above)->AccessKey() : u'\0';
    const auto at = std::ranges::find(
        text, key, [](char16_t each) { return static_cast<char16_t>(g_unichar_toupper(each)); });
    if (key == 0 || at == text.end()) {
        return {};
    }
    std::u16string marked;
    for (auto each = text.begin(); each != text.end(); ++each) {
        marked += each == at ? u"_" : *each == u'_' ? u"_" : u"";
        marked += *each;
    }
    return platform::ToValidUtf8(marked);
}

/// A text as a label, which offers its text to assistive technology.
class LabelPeer : public GtkPeer {
  protected:
    LabelPeer(PeerClient& client, platform::FrameworkElement& element, GtkAccessibleRole role)
        : GtkPeer(client, element, NewLabel(role)) {
        // Before the toolkit's own menu, which offers what cannot be done with a text to read.
        auto* const click = gtk_gesture_click_new();
        gtk_gesture_single_set_button(GTK_GESTURE_SINGLE(click), GDK_BUTTON_SECONDARY);
        gtk_event_controller_set_propagation_phase(GTK_EVENT_CONTROLLER(click), GTK_PHASE_CAPTURE);
        gtk_widget_add_controller(Widget(), GTK_EVENT_CONTROLLER(click));
        m_clicked = Signal(
            click, "pressed",
            [](GtkGestureClick* gesture, int, double x, double y, gpointer data) {
                auto* const self = static_cast<LabelPeer*>(data);
                if (gtk_label_get_selectable(self->Label())) {
                    gtk_gesture_set_state(GTK_GESTURE(gesture), GTK_EVENT_SEQUENCE_CLAIMED);
                    self->ShowMenu({static_cast<int>(x), static_cast<int>(y), 1, 1});
                }
            },
            this);
    }

    ~LabelPeer() override {
        if (m_menu != nullptr) {
            gtk_widget_unparent(m_menu);
        }
    }

    bool Perform(platform::TextGesture gesture) override {
        switch (gesture) {
            case platform::TextGesture::Copy:
                gtk_widget_activate_action(Widget(), kCopy, nullptr);
                return true;
            case platform::TextGesture::SelectAll:
                gtk_label_select_region(Label(), 0, -1);
                return true;
            case platform::TextGesture::ContextMenu:
                ShowMenu({0, 0, gtk_widget_get_width(Widget()), gtk_widget_get_height(Widget())});
                return true;
            default:
                return false;
        }
    }

    void Unselect() override {
        if (gtk_label_get_selectable(Label())) {
            gtk_label_select_region(Label(), 0, 0);
        }
    }

    GtkLabel* Label() const { return GTK_LABEL(Widget()); }

    void Show(const std::u16string& text, platform::TextWrapping wrapping, bool isValue) {
        auto* const label = Label();
        gtk_label_set_wrap(label, wrapping != platform::TextWrapping::NoWrap);
        gtk_label_set_wrap_mode(label, wrapping == platform::TextWrapping::WrapWholeWords
                                           ? PANGO_WRAP_WORD
                                           : PANGO_WRAP_WORD_CHAR);
        if (const gboolean isSelectable = isValue && !text.empty();
            gtk_label_get_selectable(label) != isSelectable) {
            gtk_label_set_selectable(label, isSelectable);
            Client().ContentChanged();
        }
        if (const auto marked = WithMnemonic(text, Element()); !marked.empty()) {
            gtk_label_set_text_with_mnemonic(label, marked.c_str());
        } else {
            gtk_label_set_text(label, platform::ToValidUtf8(text).c_str());
        }
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
    static constexpr const char* kCopy = "clipboard.copy";
    static constexpr const char* kSelectAll = "selection.select-all";

    /// What can be done with the text, at `place` in the widget. Words are the toolkit's, which has them in
    /// the user's language.
    void ShowMenu(const GdkRectangle& place) {
        if (m_menu == nullptr) {
            MakeMenu();
        }
        gtk_widget_set_direction(m_menu, gtk_widget_get_direction(Widget()));
        gtk_popover_set_pointing_to(GTK_POPOVER(m_menu), &place);
        gtk_popover_popup(GTK_POPOVER(m_menu));
    }

    void MakeMenu() {
        const GObjectPtr<GMenu> menu(g_menu_new());
        for (const auto& [word, action] : {std::pair{"_Copy", kCopy}, {"Select _All", kSelectAll}}) {
            const GObjectPtr<GMenuItem> item(g_menu_item_new(g_dgettext("gtk40", word), action));
            g_menu_item_set_attribute(item.get(), "hidden-when", "s", "action-disabled");
            g_menu_append_item(menu.get(), item.get());
        }
        m_menu = gtk_popover_menu_new_from_model(G_MENU_MODEL(menu.get()));
        gtk_widget_set_parent(m_menu, Widget());
        // The arrows of a menu inside of something that scrolls lead out of it: a fault of the toolkit's.
        auto* const keys = gtk_event_controller_key_new();
        gtk_event_controller_set_propagation_phase(keys, GTK_PHASE_CAPTURE);
        gtk_widget_add_controller(m_menu, keys);
        ConnectSignal(
            keys, "key-pressed",
            [](GtkEventControllerKey*, guint key, guint, GdkModifierType, gpointer shown) -> gboolean {
                if (key != GDK_KEY_Down && key != GDK_KEY_Up) {
                    return FALSE;
                }
                gtk_widget_child_focus(GTK_WIDGET(shown),
                                       key == GDK_KEY_Down ? GTK_DIR_TAB_FORWARD : GTK_DIR_TAB_BACKWARD);
                return TRUE;
            },
            m_menu);
    }

    /// Owned by the widget; null until there has been one.
    GtkWidget* m_menu = nullptr;
    Signal m_clicked;

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
        auto* const label = Label();
        const auto* const text = gtk_label_get_text(label);
        if (gtk_label_get_selectable(label)) {
            // A value without letters ("1.07, 2025-03-18") is read from the left in every window.
            gtk_widget_set_direction(Widget(), GTK_TEXT_DIR_LTR);
            if (RunsAgainst(Widget(), text)) {
                gtk_widget_set_direction(Widget(), GTK_TEXT_DIR_RTL);
            }
        }
        const bool isMirrored = Element().FlowDirection() == platform::FlowDirection::RightToLeft;
        const bool isOther = isMirrored != (gtk_widget_get_direction(Widget()) == GTK_TEXT_DIR_RTL);
        gtk_label_set_xalign(label, isOther ? 1 : 0);
        const bool runsAgainst = isOther != RunsAgainst(Widget(), text);
        gtk_label_set_justify(label, runsAgainst ? GTK_JUSTIFY_RIGHT : GTK_JUSTIFY_LEFT);
    }
};

class TextBlockPeer final : public LabelPeer {
  public:
    TextBlockPeer(PeerClient& client, platform::TextBlock& text)
        : LabelPeer(client, text, RoleOf(text)), m_text(text) {
        if (RoleOf(text) == GTK_ACCESSIBLE_ROLE_TEXT_BOX) {
            gtk_accessible_update_property(GTK_ACCESSIBLE(Widget()), GTK_ACCESSIBLE_PROPERTY_READ_ONLY, TRUE,
                                           -1);
        }
    }

    void Update(ElementProperty property) override {
        LabelPeer::Update(property);
        if (property == ElementProperty::Text) {
            const bool trim = m_text.TextTrimming() == platform::TextTrimming::CharacterEllipsis;
            gtk_label_set_ellipsize(Label(), trim ? PANGO_ELLIPSIZE_END : PANGO_ELLIPSIZE_NONE);
            Show(m_text.ShownText(), m_text.TextWrapping(), m_text.IsTextSelectionEnabled());
        }
    }

  private:
    /// Of a label a screen reader says the name only, and what labels it, which is the same for a value.
    static GtkAccessibleRole RoleOf(const platform::TextBlock& text) {
        return text.Accessibility().HeadingLevel > 0 ? GTK_ACCESSIBLE_ROLE_HEADING
               : text.IsTextSelectionEnabled()       ? GTK_ACCESSIBLE_ROLE_TEXT_BOX
                                                     : GTK_ACCESSIBLE_ROLE_LABEL;
    }

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
            Show(m_box.Text(), platform::TextWrapping::Wrap, true);
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
