#pragma once

// Calls to the system's own services over the system bus. A connection is opened for one action and closed
// after it: actions are rare. One thread at a time for each object.

#include <systemd/sd-bus.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace daemon_service {

/// An object of a service on the bus, by one of its interfaces.
struct BusObject {
    const char* Service;
    const char* Path;
    const char* Interface;
};

/// Connecting and every call block, for `limit` at most each, and throw ActionError. Closing does not wait.
class SystemBus {
  public:
    explicit SystemBus(std::chrono::microseconds limit = std::chrono::seconds(5));

    bool ReadBoolean(const BusObject& object, const char* property);
    std::string ReadText(const BusObject& object, const char* property);
    std::vector<std::string> ReadTexts(const BusObject& object, const char* property);

    /// A call without arguments that returns one text.
    std::string Ask(const BusObject& object, const char* method);

    /// Calls whose result does not matter.
    void Call(const BusObject& object, const char* method, bool argument);
    void Call(const BusObject& object, const char* method, const std::string& argument);

    /// Has the service manager start `unit` and waits, for the limit at most, until it has done so.
    void StartUnit(const std::string& unit);

  private:
    struct Closer {
        void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
    };
    const std::chrono::microseconds m_limit;
    std::unique_ptr<sd_bus, Closer> m_bus;
};

}  // namespace daemon_service
