#pragma once

// Which element has the keyboard focus, and what keys do: one policy for all worlds, as functions of the
// element tree. A backend hands its key events in and moves its focus where the policy says. User-interface
// thread.

#include <cstdint>
#include <set>
#include <vector>

#include "platform/xaml/Types.h"

namespace platform {

class Button;
class UIElement;

/// The elements that Tab moves to, in reading order: those of `root` that are visible and can take the focus.
/// What holds such an element is none itself.
std::vector<UIElement*> TabOrder(UIElement& root);

/// The visible default button; null for none.
Button* DefaultButton(UIElement& root);

/// What has the focus when a page appears, and when the focused element disappears: the default button, else
/// the first button; null without one. Never a text, which would show itself selected.
UIElement* FirstFocus(UIElement& root);

/// A key that went down, or is still down and repeats.
struct KeyPress {
    VirtualKey Key = VirtualKey::None;
    VirtualKeyModifiers Modifiers = VirtualKeyModifiers::None;
    /// Identifies the physical key, independent of the keyboard layout.
    std::uint32_t ScanCode = 0;
};

/// What a backend does after a key press.
struct KeyResponse {
    /// The key has been used; the backend's own widgets do not get it.
    bool Handled = false;
    /// Where to move the focus; null to leave it.
    UIElement* Focus = nullptr;
    /// The button to press, as the backend's buttons are pressed; null for none.
    Button* Press = nullptr;
};

/// The keys of one window.
class Keyboard {
  public:
    /// Raises KeyDown at `focused`, the element that has the focus (null: at `root`, the window's content),
    /// and above it. Then the page's keyboard accelerators with these keys are asked, whatever the handlers
    /// said, since values take every key for themselves: only at the first press of a key that is held, and
    /// last in reading order first. A press that neither takes does what its key is for: Tab moves the focus,
    /// back with Shift held; Enter and Space press the focused button, Enter elsewhere the default button,
    /// without modifiers.
    KeyResponse KeyDown(UIElement& root, UIElement* focused, const KeyPress& press);

    /// Raises KeyUp in the same way.
    void KeyUp(UIElement& root, UIElement* focused, const KeyPress& press);

    /// The focused element has disappeared. Keys that are still down meant that element: their repeats do
    /// nothing until they are released.
    void FocusLost() { m_stale = m_held; }

    /// Key releases are not reported from here on: another window has the focus.
    void ReleaseAll();

  private:
    /// By scan code.
    std::set<std::uint32_t> m_held;
    std::set<std::uint32_t> m_stale;
};

}  // namespace platform
