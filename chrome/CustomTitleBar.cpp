#include "chrome/CustomTitleBar.h"

#include "logging/Trace.h"
#include "platform/xaml/Markup.h"

namespace Kelvane {

CustomTitleBar::CustomTitleBar() : m_coreTitleBar(platform::CoreApplication::GetCurrentView().TitleBar()) {
    TracedUncaught(u"Kelvane::CustomTitleBar::CustomTitleBar", [this] { InitializeComponent(); });
}

CustomTitleBar::~CustomTitleBar() {
    TracedUncaught(u"Kelvane::CustomTitleBar::~CustomTitleBar", [] {});
}

void CustomTitleBar::InitializeComponent() {
    const auto elements = platform::LoadComponent(
        *this, u"ms-appx:///CustomTitleBar.xaml",
        {.Numbers = {{u"CoreTitleBarHeight", [this] { return CoreTitleBarHeight(); }}},
         .Thicknesses = {{u"CoreTitleBarPadding", [this] { return CoreTitleBarPadding(); }}}});
    m_titleBarLayoutRoot = elements.Find<platform::Grid>(u"TitleBarLayoutRoot");
    m_titleBarDragArea = elements.Find<platform::UIElement>(u"TitleBarDragArea");
    m_titleBarProgressRing = elements.Find<platform::ProgressRing>(u"TitleBarProgressRing");
}

void CustomTitleBar::EnableProgressRing(bool enable) {
    TracedUncaught(u"Kelvane::CustomTitleBar::EnableProgressRing",
                   [&] { m_titleBarProgressRing->IsActive(enable); });
}

platform::Thickness CustomTitleBar::CoreTitleBarPadding() const {
    const double left = m_coreTitleBar->SystemOverlayLeftInset();
    const double right = m_coreTitleBar->SystemOverlayRightInset();
    // The insets are physical, the sides of a thickness follow the direction.
    if (FlowDirection() == platform::FlowDirection::LeftToRight) {
        return {.Left = left, .Top = 0, .Right = right, .Bottom = 0};
    }
    return {.Left = right, .Top = 0, .Right = left, .Bottom = 0};
}

std::shared_ptr<platform::UIElement> CustomTitleBar::SetPageContent(
    std::shared_ptr<platform::UIElement> content) {
    return TracedUncaught(u"Kelvane::CustomTitleBar::SetPageContent", [&] {
        auto previous = std::exchange(m_pageContent, nullptr);
        if (previous) {
            // The page's content is always the last child.
            m_titleBarLayoutRoot->RemoveAtEnd();
        }
        m_pageContent = content;
        if (content) {
            if (auto* const element = dynamic_cast<platform::FrameworkElement*>(content.get())) {
                platform::Grid::SetRow(*element, 1);
            }
            m_titleBarLayoutRoot->Append(std::move(content));
        }
        return previous;
    });
}

void CustomTitleBar::EnableControlsInTitleBar(bool enable) {
    TracedUncaught(u"Kelvane::CustomTitleBar::EnableControlsInTitleBar",
                   [&] { platform::Window::Current()->SetTitleBar(enable ? m_titleBarDragArea : nullptr); });
}

}  // namespace Kelvane
