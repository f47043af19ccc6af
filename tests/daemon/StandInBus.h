#pragma once

// A private bus with a session manager and a service manager on it that do as the test says.

#include <sys/types.h>
#include <systemd/sd-bus.h>

#include <atomic>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "platform/core/Guarded.h"

namespace daemon_service {

/// What the stand-ins answer and what calls they received.
struct BusState {
    std::string CanSetup = "yes";
    std::string CanEntry = "yes";
    std::vector<std::string> Entries{"memory-test.conf"};
    bool SetupRequested = false;
    std::string EntryRequested{};
    bool Forgets = false;              ///< accepts a request and does not keep it
    std::string FailWith{};            ///< error name of every Set call
    std::string JobResult = "done";    ///< of a started unit
    std::vector<std::string> Calls{};  ///< methods that change something, with their arguments
};

class StandInBus {
  public:
    /// Owns the given names; DBUS_SYSTEM_BUS_ADDRESS leads here while the bus lives.
    explicit StandInBus(const std::vector<std::string>& names = {"org.freedesktop.login1",
                                                                 "org.freedesktop.systemd1"});
    ~StandInBus();
    StandInBus(const StandInBus&) = delete;
    StandInBus& operator=(const StandInBus&) = delete;

    platform::Guarded<BusState> State;

  private:
    static int Answer(sd_bus_message* message, void* self, sd_bus_error*);
    int Handle(sd_bus_message* message);
    int HandleProperty(sd_bus_message* message);

    pid_t m_daemon = -1;
    sd_bus* m_bus = nullptr;
    std::atomic<bool> m_stopping = false;
    std::thread m_thread;
};

}  // namespace daemon_service
