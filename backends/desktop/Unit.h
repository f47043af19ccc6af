#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "backends/desktop/GLibPtr.h"

namespace desktop {

/// Toolkit pixels per device-independent pixel: 1 at the desktop's ordinary text size, more at a larger one,
/// so that everything grows with the text. User-interface thread.
double Unit();

/// A length in device-independent pixels as toolkit pixels. User-interface thread.
int Pixels(double length);

/// `sheet` with its lengths in device-independent pixels ("12dip") as the toolkit's pixels.
/// User-interface thread.
std::string InPixels(std::string_view sheet);

/// Keeps Unit() at what the desktop's text scale and font ask for, and a style sheet in these units. One per
/// program; user-interface thread.
class TextScale {
  public:
    TextScale();
    TextScale(const TextScale&) = delete;
    TextScale& operator=(const TextScale&) = delete;

    /// Called after each change of Unit(), with the unit before; one receiver at a time, null for none.
    static void OnChange(std::function<void(double before)> changed);

  private:
    void Update();

    GtkSettings* m_settings;
    GObjectPtr<GtkCssProvider> m_style{gtk_css_provider_new()};
    Signal m_resolutionChanged;
    Signal m_fontChanged;
};

}  // namespace desktop
