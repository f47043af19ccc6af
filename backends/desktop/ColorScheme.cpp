#include "backends/desktop/ColorScheme.h"

#include <string_view>

#include "backends/desktop/StyleSheets.h"

namespace desktop {

namespace {

constexpr const char* kPortal = "org.freedesktop.portal.Desktop";
constexpr const char* kPortalPath = "/org/freedesktop/portal/desktop";
constexpr const char* kSettings = "org.freedesktop.portal.Settings";
constexpr const char* kAppearance = "org.freedesktop.appearance";
constexpr const char* kKey = "color-scheme";
constexpr const char* kPreferDark = "gtk-application-prefer-dark-theme";

void Load(GtkCssProvider* provider, std::string_view text) {
    gtk_css_provider_load_from_data(provider, text.data(), static_cast<gssize>(text.size()));
}

}  // namespace

ColorScheme::ColorScheme() : m_settings(gtk_settings_get_default()) {
    auto* const display = gdk_display_get_default();
    for (auto* const provider : {m_palette.get(), m_style.get()}) {
        gtk_style_context_add_provider_for_display(display, GTK_STYLE_PROVIDER(provider),
                                                   GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    }
    const std::string_view forced =
        g_getenv("KELVANE_COLOR_SCHEME") != nullptr ? g_getenv("KELVANE_COLOR_SCHEME") : "";
    if (forced == "light" || forced == "dark") {
        g_object_set(m_settings, kPreferDark, forced == "dark", nullptr);
    } else {
        g_bus_get(
            G_BUS_TYPE_SESSION, m_cancellable.get(),
            [](GObject*, GAsyncResult* result, gpointer self) {
                const GObjectPtr<GDBusConnection> bus(g_bus_get_finish(result, nullptr));
                if (bus) {
                    static_cast<ColorScheme*>(self)->FollowDesktop(bus.get());
                }
            },
            this);
    }
    m_changed = Signal(
        m_settings, "notify::gtk-application-prefer-dark-theme",
        [](GObject*, GParamSpec*, gpointer self) { static_cast<ColorScheme*>(self)->Apply(); }, this);
    Apply();
    Load(m_style.get(), kStyleSheet);
}

ColorScheme::~ColorScheme() {
    g_cancellable_cancel(m_cancellable.get());
    if (m_subscription != 0) {
        g_dbus_connection_signal_unsubscribe(m_bus.get(), m_subscription);
    }
}

void ColorScheme::FollowDesktop(GDBusConnection* bus) {
    m_bus = Share(bus);
    m_subscription = g_dbus_connection_signal_subscribe(
        bus, kPortal, kSettings, "SettingChanged", kPortalPath, kAppearance, G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* parameters,
           gpointer self) {
            const char* key = nullptr;
            GVariant* value = nullptr;
            if (g_variant_is_of_type(parameters, G_VARIANT_TYPE("(ssv)"))) {
                g_variant_get(parameters, "(&s&sv)", nullptr, &key, &value);
                const GVariantPtr owned(value);
                if (std::string_view(key) == kKey) {
                    static_cast<ColorScheme*>(self)->DesktopPrefers(value);
                }
            }
        },
        this, nullptr);
    g_dbus_connection_call(
        bus, kPortal, kPortalPath, kSettings, "Read", g_variant_new("(ss)", kAppearance, kKey),
        G_VARIANT_TYPE("(v)"), G_DBUS_CALL_FLAGS_NONE, -1, m_cancellable.get(),
        [](GObject* source, GAsyncResult* result, gpointer self) {
            // No portal, no answer: the toolkit's own setting stays.
            const GVariantPtr reply(
                g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, nullptr));
            if (reply) {
                const GVariantPtr value(g_variant_get_child_value(reply.get(), 0));
                static_cast<ColorScheme*>(self)->DesktopPrefers(value.get());
            }
        },
        this);
}

void ColorScheme::DesktopPrefers(GVariant* value) {
    // The answer may be a variant in a variant.
    GVariantPtr inner(g_variant_ref(value));
    while (g_variant_is_of_type(inner.get(), G_VARIANT_TYPE_VARIANT)) {
        inner.reset(g_variant_get_variant(inner.get()));
    }
    if (g_variant_is_of_type(inner.get(), G_VARIANT_TYPE_UINT32)) {
        enum : guint32 { kNoPreference, kDark, kLight };
        const auto scheme = g_variant_get_uint32(inner.get());
        if (scheme == kNoPreference) {
            gtk_settings_reset_property(m_settings, kPreferDark);
        } else {
            g_object_set(m_settings, kPreferDark, scheme == kDark, nullptr);
        }
    }
}

void ColorScheme::Apply() {
    gboolean dark = FALSE;
    g_object_get(m_settings, kPreferDark, &dark, nullptr);
    Load(m_palette.get(), dark ? kDarkPalette : kLightPalette);
}

}  // namespace desktop
