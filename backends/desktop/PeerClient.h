#pragma once

#include "platform/xaml/UIElement.h"

namespace desktop {

class GtkPeer;

/// What a peer reports to its window. User-interface thread.
class PeerClient {
  public:
    /// Children or their visibility have changed.
    virtual void ContentChanged() = 0;
    virtual void DirectionChanged(const platform::UIElement& element) = 0;
    /// The element that labels or describes `peer` has no peer yet: update its accessibility again when the
    /// content has changed.
    virtual void AwaitLabel(GtkPeer& peer) = 0;
    /// `peer` is being destroyed.
    virtual void Forget(GtkPeer& peer) = 0;

  protected:
    ~PeerClient() = default;
};

}  // namespace desktop
