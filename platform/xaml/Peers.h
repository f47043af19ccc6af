#pragma once

// What elements and the window need of a backend. A backend implements these interfaces; the elements call
// them.

#include <memory>

#include "platform/xaml/Types.h"

namespace platform {

class UIElement;

/// A world's side of one element in a window. User-interface thread.
class ElementPeer {
  public:
    virtual ~ElementPeer() = default;

    /// The element's property has changed; the peer reads the new value from the element.
    virtual void Update(ElementProperty property) = 0;

    /// Gives the element the keyboard focus, when it can have it.
    virtual void Focus() = 0;

    /// Whether the keyboard focus is on the element or on one below it.
    virtual bool ContainsFocus() const = 0;

    /// Whether the pointer is over the element; false in a world without one.
    virtual bool IsPointerOver() const = 0;
};

/// What a window reports to the layer. User-interface thread.
class WindowClient {
  public:
    virtual ~WindowClient() = default;

    /// The user asked to close the window. The window stays until the layer closes it.
    virtual void CloseRequested() = 0;

    virtual void OverlayInsetsChanged() = 0;

    /// The user asked to go back other than by a key: the mouse has a button for it.
    virtual void BackRequested() = 0;
};

/// A world's side of the window. User-interface thread.
class WindowPeer {
  public:
    virtual ~WindowPeer() = default;

    /// Makes a peer for an element that enters the window. The element's parent has its peer already; its
    /// children get theirs afterwards, those of a collapsed element when it becomes visible, and then the
    /// parent's peer is updated with ElementProperty::Children.
    virtual std::unique_ptr<ElementPeer> CreatePeer(UIElement& element) = 0;

    /// The root of the tree that the window shows; null for none. The element has its peer.
    virtual void SetContent(UIElement* content) = 0;

    /// Shows the window, or brings it to the front.
    virtual void Activate() = 0;

    /// The window is on the screen, and the keyboard's.
    virtual bool IsActive() const = 0;

    /// The element that the window is moved by; null for the window's own title bar. The element has its
    /// peer; when the peer is destroyed, the window has its own title bar again.
    virtual void SetTitleBar(UIElement* element) = 0;

    virtual void SetPreferredMinSize(Size size) = 0;

    /// The size at the first Activate, and from then on a request to resize; false when the world cannot.
    virtual bool Resize(Size size) = 0;

    /// The visible bounds of the content; zero before the first Activate.
    virtual Size VisibleSize() = 0;

    virtual OverlayInsets SystemOverlayInsets() = 0;

    /// Has a screen reader say `text` once, after what it is saying. Nothing is said while another window is
    /// in use.
    virtual void Announce(std::u16string_view text) = 0;

    /// Takes the window off the screen.
    virtual void Close() = 0;
};

/// Makes the program's windows.
class WindowSystem {
  public:
    virtual ~WindowSystem() = default;

    /// User-interface thread. The program's one window, not yet shown; null in a world without windows.
    /// `client` outlives the window.
    virtual std::unique_ptr<WindowPeer> CreateWindow(WindowClient& client) = 0;
};

}  // namespace platform
