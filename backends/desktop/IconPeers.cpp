// Icons come from the desktop's symbolic icon theme, by what the glyph or symbol means.

#include <algorithm>
#include <iterator>
#include <string_view>

#include "backends/desktop/Peers.h"
#include "platform/core/Text.h"
#include "platform/xaml/Controls.h"

namespace desktop {

using platform::ElementProperty;

namespace {

constexpr int kIconSize = 16;

struct NamedIcon {
    char16_t glyph;
    const char* name;
};

/// The glyphs of the platform's symbol font that anything here shows; a symbol is a glyph of the same font.
constexpr NamedIcon kIcons[] = {
    {u'\uE971', "pan-up-symbolic"},
    {u'\uE972', "pan-down-symbolic"},
    {u'\uEC61', "object-select-symbolic"},
    {u'\uE783', "dialog-error-symbolic"},
    {static_cast<char16_t>(platform::Symbol::Copy), "edit-copy-symbolic"},
    {static_cast<char16_t>(platform::Symbol::Volume), "audio-volume-high-symbolic"},
    {static_cast<char16_t>(platform::Symbol::Back), "go-previous-symbolic"},
};

const char* IconName(std::u16string_view glyph) {
    const auto* const found = std::find_if(
        std::begin(kIcons), std::end(kIcons),
        [glyph](const NamedIcon& icon) { return glyph.size() == 1 && glyph.front() == icon.glyph; });
    return found == std::end(kIcons) ? "image-missing-symbolic" : found->name;
}

/// Screen readers skip an icon without a name: the text beside it says the same.
GtkWidget* NewImage(const platform::FrameworkElement& element) {
    const auto role =
        element.Accessibility().Name.empty() ? GTK_ACCESSIBLE_ROLE_PRESENTATION : GTK_ACCESSIBLE_ROLE_IMG;
    return static_cast<GtkWidget*>(
        g_object_new(GTK_TYPE_IMAGE, "accessible-role", role, "pixel-size", kIconSize, nullptr));
}

class FontIconPeer final : public GtkPeer {
  public:
    FontIconPeer(PeerClient& client, platform::FontIcon& icon)
        : GtkPeer(client, icon, NewImage(icon)), m_icon(icon) {}

    void Update(ElementProperty property) override {
        GtkPeer::Update(property);
        if (property != ElementProperty::Icon) {
            return;
        }
        gtk_image_set_from_icon_name(GTK_IMAGE(Widget()), IconName(m_icon.Glyph()));
        UpdateColor();
    }

  private:
    void UpdateColor() {
        auto* const context = gtk_widget_get_style_context(Widget());
        if (m_color) {
            gtk_style_context_remove_provider(context, GTK_STYLE_PROVIDER(m_color.get()));
            m_color.reset();
        }
        if (!m_icon.Foreground()) {
            return;
        }
        // Nearer to the text colour than it is by itself, so that it stands out on light and on dark ground.
        const auto& [alpha, red, green, blue] = m_icon.Foreground()->Color;
        const GCharPtr css(g_strdup_printf("image { color: mix(rgba(%u,%u,%u,%.3f), @kelvane_text, 0.25); }",
                                           red, green, blue, static_cast<double>(alpha) / 255));
        m_color.reset(gtk_css_provider_new());
        gtk_css_provider_load_from_data(m_color.get(), css.get(), -1);
        gtk_style_context_add_provider(context, GTK_STYLE_PROVIDER(m_color.get()),
                                       GTK_STYLE_PROVIDER_PRIORITY_APPLICATION + 1);
    }

    platform::FontIcon& m_icon;
    GObjectPtr<GtkCssProvider> m_color;
};

class SymbolIconPeer final : public GtkPeer {
  public:
    SymbolIconPeer(PeerClient& client, platform::SymbolIcon& icon)
        : GtkPeer(client, icon, NewImage(icon)), m_icon(icon) {}

    void Update(ElementProperty property) override {
        GtkPeer::Update(property);
        if (property == ElementProperty::Icon) {
            const auto glyph = static_cast<char16_t>(m_icon.Symbol());
            gtk_image_set_from_icon_name(GTK_IMAGE(Widget()), IconName({&glyph, 1}));
        }
    }

  private:
    platform::SymbolIcon& m_icon;
};

/// Keeps its place while it rests, so that nothing beside it moves.
class ProgressRingPeer final : public GtkPeer {
  public:
    ProgressRingPeer(PeerClient& client, platform::ProgressRing& ring)
        : GtkPeer(client, ring,
                  static_cast<GtkWidget*>(g_object_new(GTK_TYPE_SPINNER, "accessible-role",
                                                       GTK_ACCESSIBLE_ROLE_PROGRESS_BAR, nullptr))),
          m_ring(ring) {}

    void Update(ElementProperty property) override {
        GtkPeer::Update(property);
        if (property == ElementProperty::IsActive || property == ElementProperty::Visibility) {
            const bool active = m_ring.IsActive();
            gtk_spinner_set_spinning(GTK_SPINNER(Widget()), active);
            gtk_widget_set_opacity(Widget(), active ? 1 : 0);
            const bool hidden = !active || m_ring.Visibility() == platform::Visibility::Collapsed;
            gtk_accessible_update_state(GTK_ACCESSIBLE(Widget()), GTK_ACCESSIBLE_STATE_BUSY, active,
                                        GTK_ACCESSIBLE_STATE_HIDDEN, hidden, -1);
        }
    }

  private:
    platform::ProgressRing& m_ring;
};

}  // namespace

std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::FontIcon& element) {
    return std::make_unique<FontIconPeer>(client, element);
}

std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::SymbolIcon& element) {
    return std::make_unique<SymbolIconPeer>(client, element);
}

std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::ProgressRing& element) {
    return std::make_unique<ProgressRingPeer>(client, element);
}

}  // namespace desktop
