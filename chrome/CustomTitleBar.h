#pragma once

// The strip above every page: drag area, title, and the ring that shows that a read is going on. Pages wrap
// their content in it with WrapInTitleBar. User-interface thread only.

#include "platform/core/Event.h"
#include "platform/xaml/Controls.h"
#include "platform/xaml/Navigation.h"
#include "platform/xaml/Panels.h"
#include "platform/xaml/Window.h"

namespace Kelvane {

class CustomTitleBar final : public platform::UserControl {
  public:
    CustomTitleBar();
    ~CustomTitleBar() override;

    void EnableProgressRing(bool enable);

    /// The space that the caption buttons cover, on the sides as the control's direction counts them.
    platform::Thickness CoreTitleBarPadding() const;

    /// Device-independent pixels.
    double CoreTitleBarHeight() const { return 30.0; }

    /// Puts `content` (null for none) below the strip and returns what was there before.
    std::shared_ptr<platform::UIElement> SetPageContent(std::shared_ptr<platform::UIElement> content);

    /// Makes the drag area what the window is moved by, or nothing of the page.
    void EnableControlsInTitleBar(bool enable);

    /// Never raised: the two properties are read when the markup binds them and when the caption buttons
    /// change.
    platform::Event<platform::UIElement&, std::u16string_view>& PropertyChanged() {
        return m_propertyChanged;
    }

  private:
    void InitializeComponent();

    std::shared_ptr<platform::CoreApplicationViewTitleBar> m_coreTitleBar;
    std::shared_ptr<platform::UIElement> m_pageContent;
    platform::Event<platform::UIElement&, std::u16string_view> m_propertyChanged;

    std::shared_ptr<platform::Grid> m_titleBarLayoutRoot;
    std::shared_ptr<platform::UIElement> m_titleBarDragArea;
    std::shared_ptr<platform::ProgressRing> m_titleBarProgressRing;
};

}  // namespace Kelvane
