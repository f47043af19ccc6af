#pragma once

#include <functional>
#include <string_view>

#include "platform/xaml/Keyboard.h"
#include "platform/xaml/Peers.h"
#include "platform/xaml/UIElement.h"

namespace headless {

/// A window without a screen that remembers what a person would perceive: its size, its content, and where
/// the keyboard focus is. User-interface thread.
class HeadlessWindow {
  public:
    /// `copy` is given what the user copies from a text.
    HeadlessWindow(platform::Size size, std::function<void(std::u16string_view)> copy)
        : m_size(size), m_copy(std::move(copy)) {}

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

    /// The mouse's back button.
    void RequestBack();

    /// The caption buttons change their place.
    void SetOverlayInsets(platform::OverlayInsets insets);

    /// The user closes the window.
    void RequestClose();

    std::unique_ptr<platform::WindowPeer> CreatePeer(platform::WindowClient& client,
                                                     platform::OverlayInsets insets);

  private:
    class WindowPeer;
    class ElementPeer;

    /// The focused text, as its user sees it.
    struct TextSelection {
        std::size_t Anchor = 0;
        std::size_t Caret = 0;
    };

    void Perform(platform::TextGesture gesture, const platform::KeyPress& press);

    platform::Size m_size;
    platform::Size m_minimum;
    platform::OverlayInsets m_insets;
    bool m_shown = false;
    platform::UIElement* m_content = nullptr;
    platform::UIElement* m_titleBar = nullptr;
    platform::UIElement* m_focused = nullptr;
    std::vector<std::u16string> m_announced;
    TextSelection m_selection;
    std::function<void(std::u16string_view)> m_copy;
    platform::Keyboard m_keyboard;
    platform::WindowClient* m_client = nullptr;
};

}  // namespace headless
