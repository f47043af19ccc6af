#include "backends/desktop/ColorScheme.h"

#include <string>
#include <string_view>

#include "backends/desktop/StyleSheets.h"
#include "platform/core/ProgramOptions.h"

namespace desktop {

namespace {

constexpr const char* kPortal = "org.freedesktop.portal.Desktop";
constexpr const char* kPortalPath = "/org/freedesktop/portal/desktop";
constexpr const char* kSettings = "org.freedesktop.portal.Settings";
constexpr const char* kAppearance = "org.freedesktop.appearance";
constexpr const char* kPreferDark = "gtk-application-prefer-dark-theme";
constexpr const char* kTheme = "gtk-theme-name";

constexpr std::string_view kLight = "light";
constexpr std::string_view kDark = "dark";

/// The word of the environment; empty for none.
std::string_view ForcedScheme() {
    const auto* const word = g_getenv("KELVANE_COLOR_SCHEME");
    return word != nullptr ? word : "";
}

}  // namespace

void VerifyColorScheme() {
    const auto forced = ForcedScheme();
    if (!forced.empty() && forced != kLight && forced != kDark) {
        throw platform::WrongUsage("KELVANE_COLOR_SCHEME is '" + std::string(forced) +
                                   "'; set it to light or dark, or unset it to follow the desktop");
    }
}

ColorScheme::ColorScheme() : m_settings(gtk_settings_get_default()) {
    gtk_style_context_add_provider_for_display(gdk_display_get_default(), GTK_STYLE_PROVIDER(m_palette.get()),
                                               GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    const auto forced = ForcedScheme();
    m_isForced = !forced.empty();
    if (m_isForced) {
        Wish(forced == kDark);
    }
    GetBus(
        G_BUS_TYPE_SESSION, m_cancellable.get(),
        [](GObject*, GAsyncResult* result, gpointer self) {
            const GObjectPtr<GDBusConnection> bus(g_bus_get_finish(result, nullptr));
            if (bus) {
                static_cast<ColorScheme*>(self)->FollowDesktop(bus.get());
            }
        },
        this);
    const auto apply = [](GObject*, GParamSpec*, gpointer self) { static_cast<ColorScheme*>(self)->Apply(); };
    m_preferenceChanged = Signal(m_settings, "notify::gtk-application-prefer-dark-theme", apply, this);
    m_themeChanged = Signal(m_settings, "notify::gtk-theme-name", apply, this);
    Apply();
}

ColorScheme::~ColorScheme() {
    g_cancellable_cancel(m_cancellable.get());
    if (m_subscription != 0) {
        g_dbus_connection_signal_unsubscribe(m_bus.get(), m_subscription);
    }
}

void ColorScheme::FollowDesktop(GDBusConnection* bus) {
    m_bus = Share(bus);
    m_subscription = SubscribeToBus(
        bus, {kPortal, kPortalPath, kSettings, "SettingChanged"}, kAppearance,
        [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* parameters,
           gpointer self) {
            const char* key = nullptr;
            GVariant* value = nullptr;
            if (g_variant_is_of_type(parameters, G_VARIANT_TYPE("(ssv)"))) {
                g_variant_get(parameters, "(&s&sv)", nullptr, &key, &value);
                const GVariantPtr owned(value);
                static_cast<ColorScheme*>(self)->DesktopPrefers(key, value);
            }
        },
        this);
    const char* const namespaces[] = {kAppearance, nullptr};
    CallBus(
        bus, {kPortal, kPortalPath, kSettings, "ReadAll"}, g_variant_new("(^as)", namespaces), "(a{sa{sv}})",
        G_DBUS_CALL_FLAGS_NONE, m_cancellable.get(),
        [](GObject* source, GAsyncResult* result, gpointer self) {
            // No portal, no answer: the toolkit's own setting stays.
            const GVariantPtr reply(g_dbus_connection_call_with_unix_fd_list_finish(
                G_DBUS_CONNECTION(source), nullptr, result, nullptr));
            if (!reply) {
                return;
            }
            const GVariantPtr spaces(g_variant_get_child_value(reply.get(), 0));
            const GVariantPtr values(
                g_variant_lookup_value(spaces.get(), kAppearance, G_VARIANT_TYPE_VARDICT));
            if (!values) {
                return;
            }
            GVariantIter iterator;
            const char* key = nullptr;
            GVariant* value = nullptr;
            g_variant_iter_init(&iterator, values.get());
            while (g_variant_iter_loop(&iterator, "{&sv}", &key, &value) != FALSE) {
                static_cast<ColorScheme*>(self)->DesktopPrefers(key, value);
            }
        },
        this);
}

void ColorScheme::DesktopPrefers(std::string_view key, GVariant* value) {
    if (!g_variant_is_of_type(value, G_VARIANT_TYPE_UINT32)) {
        return;
    }
    const auto number = g_variant_get_uint32(value);
    if (key == "color-scheme" && !m_isForced) {
        enum : guint32 { kNoPreference, kPrefersDark, kPrefersLight };
        Wish(number == kNoPreference ? std::nullopt : std::optional(number == kPrefersDark));
    } else if (key == "contrast") {
        m_higherContrast = number == 1;
        Apply();
    }
}

/// The toolkit's own menus follow its setting.
void ColorScheme::Wish(std::optional<bool> dark) {
    m_dark = dark;
    if (dark) {
        g_object_set(m_settings, kPreferDark, gboolean{*dark}, nullptr);
    } else {
        gtk_settings_reset_property(m_settings, kPreferDark);
    }
    Apply();
}

void ColorScheme::Apply() {
    gboolean prefersDark = FALSE;
    char* name = nullptr;
    g_object_get(m_settings, kPreferDark, &prefersDark, kTheme, &name, nullptr);
    const GCharPtr owned(name);
    const std::string_view theme = name != nullptr ? name : "";
    const bool dark =
        m_dark.value_or(prefersDark != FALSE || theme.ends_with("-dark") || theme == "HighContrastInverse");
    const bool contrast = m_higherContrast || theme.starts_with("HighContrast");
    const auto palette = contrast ? (dark ? kContrastDarkPalette : kContrastLightPalette)
                                  : (dark ? kDarkPalette : kLightPalette);
    gtk_css_provider_load_from_data(m_palette.get(), palette.data(), static_cast<gssize>(palette.size()));
}

}  // namespace desktop
