#pragma once

#include "platform/xaml/FrameworkElement.h"

namespace platform {

/// An element that holds one other.
class ContentControl : public FrameworkElement {
  public:
    ~ContentControl() override;

    std::span<const std::shared_ptr<UIElement>> Children() const override {
        return {&m_content, m_content ? std::size_t{1} : 0};
    }

    const std::shared_ptr<UIElement>& Content() const { return m_content; }

    /// Drops the earlier content; null for none. Refuses an element that has a parent.
    void Content(std::shared_ptr<UIElement> value);

    const Thickness& Padding() const { return m_padding; }
    void Padding(Thickness value) { Set(m_padding, value, ElementProperty::Layout); }

  private:
    std::shared_ptr<UIElement> m_content;
    Thickness m_padding;
};

/// A control that is made of other elements by its markup.
class UserControl : public ContentControl {};

/// Shows content that is higher than the place for it, with a scroll bar when needed.
class ScrollViewer : public ContentControl {
  public:
    /// Takes the focus, for the keys that scroll, only where there is something to scroll.
    bool IsTabStop() const override { return m_scrollableHeight > 0; }

    /// By how much the content is higher than its place; zero without a peer that measures it.
    double ScrollableHeight() const { return m_scrollableHeight; }

    /// For the peer.
    void ScrollableHeight(double value) {
        VerifyUserInterfaceThread();
        m_scrollableHeight = value;
    }

  private:
    double m_scrollableHeight = 0;
};

}  // namespace platform
