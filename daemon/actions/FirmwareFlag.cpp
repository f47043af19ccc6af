#include "daemon/actions/FirmwareFlag.h"

#include <algorithm>

#include "daemon/actions/SystemBus.h"

namespace daemon_service {

namespace {

using Status = ActionError::Status;

/// org.freedesktop.login1(5).
constexpr BusObject kLogin{"org.freedesktop.login1", "/org/freedesktop/login1",
                           "org.freedesktop.login1.Manager"};

/// The manager's answer to "can this be done": yes, no, challenge (a password would have to be asked) or na.
void RequireYes(const std::string& answer, const std::string& what) {
    if (answer == "yes") {
        return;
    }
    if (answer == "na") {
        throw ActionError(Status::NotSupported,
                          what + " is not supported by this machine's firmware or boot loader");
    }
    if (answer == "no" || answer == "challenge") {
        throw ActionError(
            Status::AccessDenied,
            what + " is not allowed by the system's policy (polkit answered \"" + answer + "\")");
    }
    throw ActionError(Status::Failed, what + ": the session manager answered \"" + answer + "\"");
}

/// One kind of request, as the session manager offers it.
class Flag {
  public:
    /// Throws ActionError for a kind that the configuration forbids.
    explicit Flag(const FirmwareRequest& request)
        : m_isEntry(request.By == FirmwareRequest::Method::BootEntry), m_entry(request.Entry) {
        if (request.By == FirmwareRequest::Method::Off) {
            throw ActionError(Status::AccessDenied, "the configuration says \"firmware-request = off\"");
        }
    }

    void RequireSupport(SystemBus& bus) const {
        if (!m_isEntry) {
            RequireYes(bus.Ask(kLogin, "CanRebootToFirmwareSetup"),
                       "opening the firmware setup at the next start");
            return;
        }
        RequireYes(bus.Ask(kLogin, "CanRebootToBootLoaderEntry"),
                   "starting the boot entry \"" + m_entry + "\" next");
        if (std::ranges::count(bus.ReadTexts(kLogin, "BootLoaderEntries"), m_entry) == 0) {
            throw ActionError(Status::NotFound, "the boot loader has no entry \"" + m_entry +
                                                    "\"; 'bootctl list' shows those that it has");
        }
    }

    /// Another boot entry than the configured one is somebody else's request.
    bool IsPending(SystemBus& bus) const {
        return m_isEntry ? bus.ReadText(kLogin, "RebootToBootLoaderEntry") == m_entry
                         : bus.ReadBoolean(kLogin, "RebootToFirmwareSetup");
    }

    void Set(SystemBus& bus, bool pending) const {
        if (IsPending(bus) == pending) {
            return;
        }
        if (m_isEntry) {
            bus.Call(kLogin, "SetRebootToBootLoaderEntry", pending ? m_entry : "");
        } else {
            bus.Call(kLogin, "SetRebootToFirmwareSetup", pending);
        }
        if (IsPending(bus) != pending) {
            throw ActionError(Status::WriteFault,
                              std::string(m_isEntry ? "the boot loader" : "the firmware") +
                                  " accepted the request and did not keep it");
        }
    }

  private:
    const bool m_isEntry;
    const std::string m_entry;
};

}  // namespace

std::string SetFirmwareFlag(const FirmwareRequest& request) {
    const Flag flag(request);
    SystemBus bus;
    flag.RequireSupport(bus);
    flag.Set(bus, true);
    return request.By == FirmwareRequest::Method::BootEntry
               ? "The boot entry \"" + request.Entry + "\" starts at the next start of this computer."
               : "The firmware setup, which offers the diagnostics, opens at the next start of this "
                 "computer.";
}

void CancelFirmwareFlag(const FirmwareRequest& request) {
    const Flag flag(request);
    SystemBus bus;
    flag.Set(bus, false);
}

FirmwareFlagState ReadFirmwareFlag(const FirmwareRequest& request) {
    try {
        const Flag flag(request);
        SystemBus bus;
        flag.RequireSupport(bus);
        return {.Pending = flag.IsPending(bus)};
    } catch (const ActionError& error) {
        return {.Failure = error.Code()};
    }
}

}  // namespace daemon_service
