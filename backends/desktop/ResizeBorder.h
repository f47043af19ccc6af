#pragma once

#include "backends/desktop/GLibPtr.h"

namespace desktop {

/// The edges and corners that an undecorated window is resized by: thin strips over its content, hidden
/// while the window is maximized. User-interface thread.
class ResizeBorder {
  public:
    ResizeBorder(GtkWindow* window, GtkOverlay* overlay);

  private:
    void Update();

    static constexpr std::size_t kStrips = 8;
    GtkWindow* m_window;
    /// Owned by the overlay.
    GtkWidget* m_strips[kStrips];
    Signal m_pressed[kStrips];
    Signal m_maximized;
    Signal m_fullscreened;
};

}  // namespace desktop
