// Icons are drawn here, without the desktop's icon theme: its size and its drawings are not this program's.

#include <cmath>
#include <optional>
#include <string_view>

#include "backends/desktop/DrawingWidget.h"
#include "backends/desktop/Icons.h"
#include "backends/desktop/Peers.h"
#include "platform/core/Text.h"
#include "platform/xaml/Controls.h"

namespace desktop {

using platform::ElementProperty;

namespace {

/// Device-independent pixels.
constexpr double kIconSize = 16;

/// An element that shows one icon.
class IconPeer : public GtkPeer {
  protected:
    IconPeer(PeerClient& client, platform::FrameworkElement& element)
        : GtkPeer(client, element,
                  NewDrawingWidget(RoleOf(element), "icon",
                                   [this](cairo_t* cairo, double size, const GdkRGBA& color) {
                                       if (m_icon != nullptr) {
                                           DrawIcon(*m_icon, cairo, size, m_color.value_or(color),
                                                    gtk_widget_get_direction(Widget()) == GTK_TEXT_DIR_RTL);
                                       }
                                   })) {
        SetDrawingSize(Widget(), kIconSize);
    }

    /// A glyph that has no drawing shows nothing.
    void Show(std::u16string_view glyph) {
        m_icon = FindIcon(glyph);
        gtk_widget_queue_draw(Widget());
    }

    /// Nothing: the text colour.
    void Color(std::optional<GdkRGBA> color) { m_color = color; }

  private:
    /// Screen readers skip an icon without a name: the text beside it says the same.
    static GtkAccessibleRole RoleOf(const platform::FrameworkElement& element) {
        return element.Accessibility().Name.empty() ? GTK_ACCESSIBLE_ROLE_PRESENTATION
                                                    : GTK_ACCESSIBLE_ROLE_IMG;
    }

    const Icon* m_icon = nullptr;
    std::optional<GdkRGBA> m_color;
};

class FontIconPeer final : public IconPeer {
  public:
    FontIconPeer(PeerClient& client, platform::FontIcon& icon) : IconPeer(client, icon), m_icon(icon) {}

    void Update(ElementProperty property) override {
        GtkPeer::Update(property);
        if (property == ElementProperty::Icon) {
            UpdateColor();
            Show(m_icon.Glyph());
        }
    }

  private:
    void UpdateColor() {
        const auto& brush = m_icon.Foreground();
        // The palette has a green of its own, which can be read on each of its grounds.
        const bool good = brush && brush->Color == platform::Colors::Green;
        (good ? gtk_widget_add_css_class : gtk_widget_remove_css_class)(Widget(), "good");
        if (!brush || good) {
            Color(std::nullopt);
            return;
        }
        const auto part = [](std::uint8_t value) { return static_cast<float>(value) / 255; };
        const auto& [alpha, red, green, blue] = brush->Color;
        Color(GdkRGBA{part(red), part(green), part(blue), part(alpha)});
    }

    platform::FontIcon& m_icon;
};

class SymbolIconPeer final : public IconPeer {
  public:
    SymbolIconPeer(PeerClient& client, platform::SymbolIcon& icon) : IconPeer(client, icon), m_icon(icon) {}

    void Update(ElementProperty property) override {
        GtkPeer::Update(property);
        if (property == ElementProperty::Icon) {
            const auto glyph = static_cast<char16_t>(m_icon.Symbol());
            Show({&glyph, 1});
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
                  NewDrawingWidget(GTK_ACCESSIBLE_ROLE_PROGRESS_BAR, "ring",
                                   [this](cairo_t* cairo, double size, const GdkRGBA& color) {
                                       Draw(cairo, size, color);
                                   })),
          m_ring(ring) {
        SetDrawingSize(Widget(), kIconSize);
    }

    ~ProgressRingPeer() override { Turn(false); }

    void Update(ElementProperty property) override {
        GtkPeer::Update(property);
        if (property == ElementProperty::IsActive || property == ElementProperty::Visibility) {
            const bool active = m_ring.IsActive();
            const bool hidden = !active || m_ring.Visibility() == platform::Visibility::Collapsed;
            Turn(!hidden);
            gtk_widget_set_opacity(Widget(), active ? 1 : 0);
            gtk_accessible_update_state(GTK_ACCESSIBLE(Widget()), GTK_ACCESSIBLE_STATE_BUSY, active,
                                        GTK_ACCESSIBLE_STATE_HIDDEN, hidden, -1);
        }
    }

  private:
    static constexpr double kCircle = 2 * G_PI;

    /// The toolkit calls back only while the widget is on the screen.
    void Turn(bool turn) {
        if (turn && m_tick == 0) {
            m_tick = AddTickCallback(
                Widget(),
                [](GtkWidget* widget, GdkFrameClock* clock, gpointer self) -> gboolean {
                    constexpr double kMicrosecondsPerTurn = 1e6;
                    static_cast<ProgressRingPeer*>(self)->m_angle =
                        kCircle * static_cast<double>(gdk_frame_clock_get_frame_time(clock)) /
                        kMicrosecondsPerTurn;
                    if (IsAnimated()) {
                        gtk_widget_queue_draw(widget);
                    }
                    return G_SOURCE_CONTINUE;
                },
                this, [](gpointer) {});
        } else if (!turn && m_tick != 0) {
            gtk_widget_remove_tick_callback(Widget(), std::exchange(m_tick, 0));
        }
    }

    /// By the user's setting.
    static bool IsAnimated() {
        gboolean animations = TRUE;
        g_object_get(gtk_settings_get_default(), "gtk-enable-animations", &animations, nullptr);
        return animations != FALSE;
    }

    void Draw(cairo_t* cairo, double size, const GdkRGBA& color) const {
        const double begin = IsAnimated() ? std::fmod(m_angle, kCircle) : -kCircle / 4;
        const double width = size / 8;
        gdk_cairo_set_source_rgba(cairo, &color);
        cairo_set_line_width(cairo, width);
        cairo_set_line_cap(cairo, CAIRO_LINE_CAP_ROUND);
        cairo_arc(cairo, size / 2, size / 2, size / 2 - width, begin, begin + kCircle * 3 / 4);
        cairo_stroke(cairo);
    }

    platform::ProgressRing& m_ring;
    guint m_tick = 0;
    double m_angle = 0;
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
