#pragma once

#include <optional>
#include <string_view>

#include "backends/desktop/GLibPtr.h"

namespace desktop {

/// Throws WrongUsage when KELVANE_COLOR_SCHEME is set to a word without meaning. Any thread.
void VerifyColorScheme();

/// Light or dark, as the user prefers it: `KELVANE_COLOR_SCHEME` ("light", "dark"), else the desktop's
/// setting, followed while the program runs, else the toolkit's own. Higher contrast when the desktop or the
/// toolkit's theme asks for it. User-interface thread.
class ColorScheme {
  public:
    ColorScheme();
    ~ColorScheme();
    ColorScheme(const ColorScheme&) = delete;
    ColorScheme& operator=(const ColorScheme&) = delete;

  private:
    void FollowDesktop(GDBusConnection* bus);
    void DesktopPrefers(std::string_view key, GVariant* value);
    void Wish(std::optional<bool> dark);
    void Apply();

    GtkSettings* m_settings;
    bool m_isForced = false;
    /// Empty: as the toolkit has it.
    std::optional<bool> m_dark;
    bool m_higherContrast = false;
    GObjectPtr<GtkCssProvider> m_palette{gtk_css_provider_new()};
    GObjectPtr<GCancellable> m_cancellable{g_cancellable_new()};
    GObjectPtr<GDBusConnection> m_bus;
    guint m_subscription = 0;
    Signal m_preferenceChanged;
    Signal m_themeChanged;
};

}  // namespace desktop
