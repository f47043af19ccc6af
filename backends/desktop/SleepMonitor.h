#pragma once

#include <memory>

#include "backends/desktop/GLibPtr.h"
#include "platform/world/World.h"

namespace desktop {

/// Listens to the login manager's signal that the machine is about to sleep, and delays the sleep until the
/// layer is done. Without a login manager nothing is reported. User-interface thread.
class SleepMonitor {
  public:
    explicit SleepMonitor(platform::WorldClient& client);
    ~SleepMonitor();
    SleepMonitor(const SleepMonitor&) = delete;
    SleepMonitor& operator=(const SleepMonitor&) = delete;

  private:
    /// The login manager's token: the machine waits for it to be closed.
    struct Inhibitor;

    void Connected(GDBusConnection* bus);
    void Inhibit();
    void PrepareForSleep(bool starting);

    platform::WorldClient& m_client;
    GObjectPtr<GCancellable> m_cancellable{g_cancellable_new()};
    GObjectPtr<GDBusConnection> m_bus;
    guint m_subscription = 0;
    std::shared_ptr<Inhibitor> m_inhibitor;
};

}  // namespace desktop
