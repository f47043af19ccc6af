#pragma once

#include <functional>
#include <vector>

#include "backends/desktop/DeferredCall.h"
#include "backends/desktop/GLibPtr.h"
#include "platform/xaml/Types.h"

namespace desktop {

/// Caption buttons over the top corners of the window. Which there are, and at which end, is the user's
/// setting for all windows and may change at any time. User-interface thread.
class CaptionButtons {
  public:
    /// Height of the title bar that they stand in, in device-independent pixels.
    static constexpr int kHeight = 30;

    /// `changed` is called when the insets have changed.
    CaptionButtons(GtkWindow* window, GtkOverlay* overlay, std::function<void()> changed);

    platform::OverlayInsets Insets();

    void SetDirection(GtkTextDirection direction);

    /// Whether `widget` is one of the buttons. Null is none.
    bool Contains(GtkWidget* widget) const;

    /// Gives the focus to the button after `from`, or before it when `back`; null: to the first or last.
    /// False when there is none.
    bool MoveFocus(GtkWidget* from, bool back);

  private:
    /// False for another widget than the buttons.
    bool Place(GtkWidget* widget, GdkRectangle& place);
    void Rebuild();
    platform::OverlayInsets Measure() const;
    int WidthOf(GtkPackType end) const;
    bool IsRightToLeft() const;
    /// In reading order.
    std::vector<GtkWidget*> Buttons() const;

    GtkWindow* m_window;
    GtkOverlay* m_overlay;
    std::function<void()> m_changed;
    /// Owned by the overlay; by GtkPackType.
    GtkWidget* m_ends[2];
    /// What the layer knows.
    platform::OverlayInsets m_reported;
    DeferredCall m_report;
    Signal m_place;
    Signal m_layoutChanged;
    Signal m_maximized;
};

}  // namespace desktop
