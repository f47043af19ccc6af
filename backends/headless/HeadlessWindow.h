#pragma once

#include "platform/xaml/Peers.h"
#include "platform/xaml/UIElement.h"

namespace headless {

/// A window that nobody sees, but that remembers what a person would: its size, its content, and where the
/// keyboard focus is. User-interface thread.
class HeadlessWindow {
  public:
    explicit HeadlessWindow(platform::Size size) : m_size(size) {}

    platform::Size Size() const { return m_size; }
    platform::Size MinimumSize() const { return m_minimum; }
    bool IsShown() const { return m_shown; }
    platform::UIElement* Content() const { return m_content; }
    platform::UIElement* TitleBar() const { return m_titleBar; }
    platform::UIElement* Focused() const { return m_focused; }

    /// The elements that Tab goes to, in its order: visible, and able to take the focus.
    std::vector<platform::UIElement*> FocusOrder() const;

    /// What pressing and releasing a key does: the focused element and those above it are asked first; if
    /// none handles the press, Tab moves the focus, Enter and Space press the focused button, and a button's
    /// accelerator key presses that button.
    void PressKey(platform::VirtualKey key);

    /// The caption buttons change their place.
    void SetOverlayInsets(platform::OverlayInsets insets);

    /// The user closes the window.
    void RequestClose();

    std::unique_ptr<platform::WindowPeer> CreatePeer(platform::WindowClient& client,
                                                     platform::OverlayInsets insets);

  private:
    class Peer;
    class Element;

    void ChangeKey(platform::VirtualKey key);

    platform::Size m_size;
    platform::Size m_minimum;
    platform::OverlayInsets m_insets;
    bool m_shown = false;
    platform::UIElement* m_content = nullptr;
    platform::UIElement* m_titleBar = nullptr;
    platform::UIElement* m_focused = nullptr;
    platform::WindowClient* m_client = nullptr;
};

}  // namespace headless
