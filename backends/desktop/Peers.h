#pragma once

#include "backends/desktop/GtkPeer.h"

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
class WrapPanel;
}  // namespace platform

namespace desktop {

/// A peer of the element's kind; throws a platform exception for a kind that has none.
std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::UIElement& element);

// One function per kind, each beside its class.
std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::Grid& element);
std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::StackPanel& element);
std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::WrapPanel& element);
std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::ContentControl& element);
std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::ScrollViewer& element);
std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::Button& element);
std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::TextBlock& element);
std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::TextBox& element);
std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::FontIcon& element);
std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::SymbolIcon& element);
std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::ProgressRing& element);

}  // namespace desktop
