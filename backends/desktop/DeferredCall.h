#pragma once

#include <functional>
#include <utility>

#include "backends/desktop/Callback.h"

namespace desktop {

/// A call that the main loop makes later, once; dropped when this is destroyed. User-interface thread.
class DeferredCall {
  public:
    DeferredCall() = default;
    ~DeferredCall() { Drop(); }
    DeferredCall(const DeferredCall&) = delete;
    DeferredCall& operator=(const DeferredCall&) = delete;

    /// Until the call begins.
    bool IsPending() const { return m_source != 0; }

    /// After `milliseconds`, as soon as nothing of a higher priority is to be done. Replaces a pending call.
    void Schedule(int priority, std::function<void()> call, guint milliseconds = 0) {
        Drop();
        m_call = std::move(call);
        const auto make = [](gpointer self) -> gboolean {
            auto& deferred = *static_cast<DeferredCall*>(self);
            deferred.m_source = 0;
            std::exchange(deferred.m_call, nullptr)();
            return G_SOURCE_REMOVE;
        };
        m_source = AddTimeout(priority, milliseconds, make, this, [](gpointer) {});
    }

  private:
    void Drop() {
        if (m_source != 0) {
            g_source_remove(std::exchange(m_source, 0));
        }
    }

    std::function<void()> m_call;
    guint m_source = 0;
};

}  // namespace desktop
