#pragma once

#include "backends/desktop/Peer.h"

namespace platform {
class Button;
class ContentControl;
class FontIcon;
class Grid;
class ProgressRing;
class ScrollViewer;
class StackPanel;
class SymbolIcon;
class TextBlock;
class TextBox;
}  // namespace platform

namespace desktop {

/// A peer of the element's kind; throws a platform exception for a kind that has none.
std::unique_ptr<Peer> NewPeer(DesktopWindow& window, platform::UIElement& element);

// One function a kind, each beside its class.
std::unique_ptr<Peer> NewPeer(DesktopWindow& window, platform::Grid& element);
std::unique_ptr<Peer> NewPeer(DesktopWindow& window, platform::StackPanel& element);
std::unique_ptr<Peer> NewPeer(DesktopWindow& window, platform::ContentControl& element);
std::unique_ptr<Peer> NewPeer(DesktopWindow& window, platform::ScrollViewer& element);
std::unique_ptr<Peer> NewPeer(DesktopWindow& window, platform::Button& element);
std::unique_ptr<Peer> NewPeer(DesktopWindow& window, platform::TextBlock& element);
std::unique_ptr<Peer> NewPeer(DesktopWindow& window, platform::TextBox& element);
std::unique_ptr<Peer> NewPeer(DesktopWindow& window, platform::FontIcon& element);
std::unique_ptr<Peer> NewPeer(DesktopWindow& window, platform::SymbolIcon& element);
std::unique_ptr<Peer> NewPeer(DesktopWindow& window, platform::ProgressRing& element);

}  // namespace desktop
