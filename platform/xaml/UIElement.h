#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/core/Event.h"
#include "platform/core/Exception.h"
#include "platform/core/UserInterfaceThread.h"
#include "platform/xaml/Peers.h"
#include "platform/xaml/Types.h"

namespace platform {

class UIElement;

/// One press or release of a key, on its way up the tree until somebody marks it handled.
struct KeyRoutedEventArgs {
    VirtualKey Key = VirtualKey::None;
    bool Handled = false;
};

struct KeyboardAcceleratorInvokedEventArgs {
    /// The key has done its work: nothing else is asked.
    bool Handled = false;
};

/// A key combination that works from anywhere on the page while its element and all above it are visible.
/// User-interface thread.
struct KeyboardAccelerator {
    VirtualKey Key = VirtualKey::None;
    VirtualKeyModifiers Modifiers = VirtualKeyModifiers::None;
    /// What the list of shortcuts says of it; empty: the name of its element.
    std::u16string Name{};
    /// Raised with the element. Unless a handler sets Handled, the element is clicked if it is a button, else
    /// the next one with the same keys is asked.
    Event<UIElement&, KeyboardAcceleratorInvokedEventArgs&> Invoked{};
};

/// What a plain event of an element carries beside its sender.
struct RoutedEventArgs {};

/// A node of the retained tree. Elements are held by std::shared_ptr and work with or without a window.
/// Everything is used on the user-interface thread; setting anything elsewhere is refused with the platform's
/// wrong-thread error.
class UIElement : public std::enable_shared_from_this<UIElement> {
  public:
    virtual ~UIElement();
    UIElement(const UIElement&) = delete;
    UIElement& operator=(const UIElement&) = delete;

    platform::Visibility Visibility() const { return m_visibility; }
    void Visibility(platform::Visibility value);

    /// Whether the element and all above it are visible.
    bool IsShown() const;

    /// The element's own direction, or else its parent's; at a root see RootFlowDirection.
    platform::FlowDirection FlowDirection() const;
    void FlowDirection(platform::FlowDirection value);

    /// For the window: the direction of every element tree whose root has none of its own. Left to right
    /// while there is no window.
    static void RootFlowDirection(platform::FlowDirection value);

    /// The element that holds this one; null for a root. Not owning.
    UIElement* Parent() const { return m_parent; }

    /// The elements that this one holds, in reading order; until one is added or removed.
    virtual std::span<const std::shared_ptr<UIElement>> Children() const { return {}; }

    /// True when the element can take the keyboard focus.
    virtual bool IsTabStop() const { return false; }

    /// Gives the element the keyboard focus; nothing happens outside a window.
    void Focus();

    /// Whether the element or one below it has the keyboard focus; false outside a window.
    bool ContainsFocus() const { return m_peer != nullptr && m_peer->ContainsFocus(); }

    /// Whether the pointer is over the element; false outside a window.
    bool IsPointerOver() const { return m_peer != nullptr && m_peer->IsPointerOver(); }

    Event<UIElement&, KeyRoutedEventArgs&>& KeyDown() { return m_keyDown; }
    Event<UIElement&, KeyRoutedEventArgs&>& KeyUp() { return m_keyUp; }

    /// The element's accelerators; see Keyboard for the order in which they are asked.
    std::vector<std::shared_ptr<KeyboardAccelerator>>& KeyboardAccelerators() {
        VerifyUserInterfaceThread();
        return m_keyboardAccelerators;
    }

    /// Raised each time the element has entered a window, after its children's.
    Event<UIElement&, const RoutedEventArgs&>& Loaded() { return m_loaded; }

    /// Raised when a property of the element has a new value, after its peer has been updated.
    Event<UIElement&, ElementProperty>& PropertyChanged() { return m_propertyChanged; }

    /// For peers: a key went down (or up) while the element had the focus. Returns whether somebody handled
    /// it.
    bool RaiseKey(VirtualKey key, bool down);

    /// For the window: the element, with all below it, enters or leaves.
    void EnterWindow(WindowPeer& window);
    void LeaveWindow();
    void RaiseLoaded();

    /// The window that the element is in, or null.
    WindowPeer* CurrentWindow() const { return m_window; }
    /// Null outside a window, and below an element that has not been visible in it yet: what is not looked at
    /// costs a window nothing.
    ElementPeer* Peer() const { return m_peer.get(); }

    /// Reads bound properties again, here and below: the caption buttons or the direction have changed.
    void RefreshBindings();

    /// For the markup reader: something to do at each RefreshBindings.
    void AddBinding(std::function<void()> refresh) {
        VerifyUserInterfaceThread();
        m_bindings.push_back(std::move(refresh));
    }

  protected:
    UIElement() { VerifyUserInterfaceThread(); }

    /// The one place where every property is set: right thread, then value, then peer.
    template <typename T>
    void Set(T& field, T value, ElementProperty property) {
        VerifyUserInterfaceThread();
        if (field == value) {
            return;
        }
        field = std::move(value);
        Changed(property);
    }

    /// Updates the peer and raises PropertyChanged.
    virtual void Changed(ElementProperty property);

    /// Adding a child is three steps: Adopt refuses an element that has a parent, the derived class stores
    /// the child, and Attached takes it into the window. Removing is two: the derived class drops it from its
    /// store, and Detached does the rest.
    void Adopt(UIElement& child);
    void Attached(UIElement& child);
    void Detached(UIElement& child);

    /// For destructors: the child outlives this element.
    static void Orphan(UIElement& child) { child.m_parent = nullptr; }

  private:
    UIElement* m_parent = nullptr;
    WindowPeer* m_window = nullptr;
    std::unique_ptr<ElementPeer> m_peer;
    bool m_childrenHavePeers = false;
    platform::Visibility m_visibility = platform::Visibility::Visible;
    std::optional<platform::FlowDirection> m_flowDirection;
    Event<UIElement&, KeyRoutedEventArgs&> m_keyDown;
    Event<UIElement&, KeyRoutedEventArgs&> m_keyUp;
    std::vector<std::shared_ptr<KeyboardAccelerator>> m_keyboardAccelerators;
    Event<UIElement&, const RoutedEventArgs&> m_loaded;
    Event<UIElement&, ElementProperty> m_propertyChanged;
    std::vector<std::function<void()>> m_bindings;

    /// The children, also while a handler adds or removes some.
    std::vector<std::shared_ptr<UIElement>> HeldChildren() const;
    void FlowDirectionChanged();
    void EnterChildren();
};

/// `element` as an element of the kind that is asked for; one of another kind is refused with the platform's
/// no-such-interface error (0x80004002).
template <typename Element>
Element& As(UIElement& element) {
    if (auto* const cast = dynamic_cast<Element*>(&element)) {
        return *cast;
    }
    throw Exception(result::kNoInterface, u"No such interface supported");
}

}  // namespace platform
