#pragma once

// Which element has the keyboard focus, and what keys do: one policy for all worlds, as functions of the
// element tree. A backend hands its key events in and moves its focus where the policy says. User-interface
// thread.

#include <cstdint>
#include <memory>
#include <set>
#include <string>
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
/// what Tab reaches first; null when there is nothing.
UIElement* FirstFocus(UIElement& root);

/// What a text does with a key by itself, before its page has a say.
enum class TextGesture { None, Copy, SelectAll, ContextMenu, MoveCaret };

/// A key that went down, or is still down and repeats.
struct KeyPress {
    VirtualKey Key = VirtualKey::None;
    VirtualKeyModifiers Modifiers = VirtualKeyModifiers::None;
    /// Identifies the physical key, independent of the keyboard layout.
    std::uint32_t ScanCode = 0;
    /// What the key types, as a capital, and after it what it types in those of the user's layouts that are
    /// for another script, so that an access key works in each.
    std::u16string Characters{};
};

/// One row of the list of shortcuts.
struct Shortcut {
    VirtualKey Key = VirtualKey::None;
    VirtualKeyModifiers Modifiers = VirtualKeyModifiers::None;
    /// An access key, in place of Key.
    char16_t Character = 0;
    /// What it does.
    std::u16string Name;
};

/// What the keys do on the page that `root` shows: its accelerators, going back, the gestures of texts, the
/// access keys. Made from what Keyboard looks keys up in; names of its own are the texts "Shortcut..." of the
/// package.
std::vector<Shortcut> Shortcuts(UIElement& root);

/// What a backend does after a key press.
struct KeyResponse {
    /// The key has been used; the backend's own widgets do not get it.
    bool Handled = false;
    /// Where to move the focus; null to leave it.
    UIElement* Focus = nullptr;
    /// The button to press, as the backend's buttons are pressed; null for none.
    Button* Press = nullptr;
    /// Tab goes past the last element, or back past the first: where the backend has stops of its own, the
    /// focus moves to the first (or last) of them in place of `Focus`.
    bool LeavesContent = false;
    /// What the focused text does with the key.
    TextGesture Gesture = TextGesture::None;
};

/// The keys of one window.
class Keyboard {
  public:
    /// Raises KeyDown at `focused`, the element that has the focus (null: at `root`, the window's content),
    /// and above it. Whatever its handlers say, since values take every key for themselves, a text's own
    /// gestures come first; then, only at the first press of a key that is held, the page's keyboard
    /// accelerators, last in reading order first; then the keys that go back (Escape, the back key, Alt and
    /// the arrow that points back), as SystemNavigationManager::BackRequested; then Alt with the access key
    /// of a button. A press that none of them and no handler takes does what its key is for: Tab moves the
    /// focus, back with Shift held; Enter and Space press the focused button, Enter elsewhere the default
    /// button, without modifiers.
    KeyResponse KeyDown(UIElement& root, UIElement* focused, const KeyPress& press);

    /// Raises KeyUp in the same way.
    void KeyUp(UIElement& root, UIElement* focused, const KeyPress& press);

    /// The content has changed, or the focused element has disappeared (`focused` is null). Returns where the
    /// focus moves; null to leave it. It moves when it was lost, and while the user has not touched anything
    /// since this function chose where it is: the first row may appear after the buttons. Keys that are down
    /// when it is lost meant what has disappeared: their repeats do nothing until they are released.
    UIElement* ContentChanged(UIElement& root, const UIElement* focused);

    /// The user has touched the window other than by a key.
    void PointerPressed() { m_chosen.reset(); }

    /// Key releases are not reported from here on: another window has the focus.
    void ReleaseAll();

  private:
    /// By scan code.
    std::set<std::uint32_t> m_held;
    std::set<std::uint32_t> m_stale;
    /// What has the focus by ContentChanged's choice.
    std::weak_ptr<UIElement> m_chosen;
};

}  // namespace platform
