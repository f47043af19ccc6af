#pragma once

#include "platform/xaml/Keyboard.h"
#include "platform/xaml/Peers.h"
#include "platform/xaml/UIElement.h"

namespace headless {

/// A window without a screen that remembers what a person would perceive: its size, its content, and where
/// the keyboard focus is. User-interface thread.
class HeadlessWindow {
  public:
    explicit HeadlessWindow(platform::Size size) : m_size(size) {}

    platform::Size Size() const { return m_size; }
    platform::Size MinimumSize() const { return m_minimum; }
    bool IsShown() const { return m_shown; }
    platform::UIElement* Content() const { return m_content; }
    platform::UIElement* TitleBar() const { return m_titleBar; }

    /// What a screen reader has said beside names and values, since the start.
    const std::vector<std::u16string>& Announced() const { return m_announced; }

    /// Null when nothing on the page can have the focus.
    platform::UIElement* Focused();

    /// The user presses a key, holds it (each further call is a repeat), and releases it. See
    /// platform::Keyboard for what that does.
    void HoldKey(platform::VirtualKey key,
                 platform::VirtualKeyModifiers modifiers = platform::VirtualKeyModifiers::None);
    void ReleaseKey(platform::VirtualKey key);
    void PressKey(platform::VirtualKey key,
                  platform::VirtualKeyModifiers modifiers = platform::VirtualKeyModifiers::None);

    /// The caption buttons change their place.
    void SetOverlayInsets(platform::OverlayInsets insets);

    /// The user closes the window.
    void RequestClose();

    std::unique_ptr<platform::WindowPeer> CreatePeer(platform::WindowClient& client,
                                                     platform::OverlayInsets insets);

  private:
    class WindowPeer;
    class ElementPeer;

    void LoseFocus();

    platform::Size m_size;
    platform::Size m_minimum;
    platform::OverlayInsets m_insets;
    bool m_shown = false;
    platform::UIElement* m_content = nullptr;
    platform::UIElement* m_titleBar = nullptr;
    platform::UIElement* m_focused = nullptr;
    std::vector<std::u16string> m_announced;
    platform::Keyboard m_keyboard;
    platform::WindowClient* m_client = nullptr;
};

}  // namespace headless
