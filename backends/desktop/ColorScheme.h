#pragma once

#include "backends/desktop/GLibPtr.h"

namespace desktop {

/// Light or dark, as the user prefers it: `KELVANE_COLOR_SCHEME` ("light", "dark"), else the desktop's
/// setting, followed while the program runs, else the toolkit's own. User-interface thread.
class ColorScheme {
  public:
    ColorScheme();
    ~ColorScheme();
    ColorScheme(const ColorScheme&) = delete;
    ColorScheme& operator=(const ColorScheme&) = delete;

  private:
    void FollowDesktop(GDBusConnection* bus);
    void DesktopPrefers(GVariant* value);
    void Apply();

    GtkSettings* m_settings;
    GObjectPtr<GtkCssProvider> m_palette{gtk_css_provider_new()};
    GObjectPtr<GtkCssProvider> m_style{gtk_css_provider_new()};
    GObjectPtr<GCancellable> m_cancellable{g_cancellable_new()};
    GObjectPtr<GDBusConnection> m_bus;
    guint m_subscription = 0;
    Signal m_changed;
};

}  // namespace desktop
