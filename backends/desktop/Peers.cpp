#include "backends/desktop/Peers.h"

#include "platform/core/Exception.h"
#include "platform/xaml/Controls.h"

namespace desktop {

namespace {

/// The first kind in the list that `element` is of.
template <typename Kind, typename... Rest>
std::unique_ptr<GtkPeer> NewPeerOf(PeerClient& client, platform::UIElement& element) {
    if (auto* const typed = dynamic_cast<Kind*>(&element)) {
        return NewPeer(client, *typed);
    }
    if constexpr (sizeof...(Rest) > 0) {
        return NewPeerOf<Rest...>(client, element);
    }
    throw platform::Exception(platform::result::kNoInterface,
                              u"The window cannot show an element of this kind.");
}

}  // namespace

std::unique_ptr<GtkPeer> NewPeer(PeerClient& client, platform::UIElement& element) {
    // Derived kinds before their bases.
    return NewPeerOf<platform::Button, platform::ScrollViewer, platform::ContentControl, platform::Grid,
                     platform::StackPanel, platform::WrapPanel, platform::TextBlock, platform::TextBox,
                     platform::FontIcon, platform::SymbolIcon, platform::ProgressRing>(client, element);
}

}  // namespace desktop
