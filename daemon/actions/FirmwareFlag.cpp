#include "daemon/actions/FirmwareFlag.h"

#include <algorithm>

#include "daemon/actions/ActionError.h"
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

std::string RequestFirmwareSetup(SystemBus& bus) {
    RequireYes(bus.Ask(kLogin, "CanRebootToFirmwareSetup"), "opening the firmware setup at the next start");
    if (!bus.ReadBoolean(kLogin, "RebootToFirmwareSetup")) {
        bus.Call(kLogin, "SetRebootToFirmwareSetup", true);
        if (!bus.ReadBoolean(kLogin, "RebootToFirmwareSetup")) {
            throw ActionError(Status::WriteFault, "the firmware accepted the request and did not keep it");
        }
    }
    return "The firmware setup, which offers the diagnostics, opens at the next start of this computer.";
}

std::string RequestBootEntry(SystemBus& bus, const std::string& entry) {
    RequireYes(bus.Ask(kLogin, "CanRebootToBootLoaderEntry"),
               "starting the boot entry \"" + entry + "\" next");
    if (std::ranges::count(bus.ReadTexts(kLogin, "BootLoaderEntries"), entry) == 0) {
        throw ActionError(Status::NotFound, "the boot loader has no entry \"" + entry +
                                                "\"; 'bootctl list' shows those that it has");
    }
    if (bus.ReadText(kLogin, "RebootToBootLoaderEntry") != entry) {
        bus.Call(kLogin, "SetRebootToBootLoaderEntry", entry);
        if (bus.ReadText(kLogin, "RebootToBootLoaderEntry") != entry) {
            throw ActionError(Status::WriteFault, "the boot loader's request was accepted and not kept");
        }
    }
    return "The boot entry \"" + entry + "\" starts at the next start of this computer.";
}

}  // namespace

std::string SetFirmwareFlag(const FirmwareRequest& request) {
    if (request.By == FirmwareRequest::Method::Off) {
        throw ActionError(Status::AccessDenied, "the configuration says \"firmware-request = off\"");
    }
    SystemBus bus;
    return request.By == FirmwareRequest::Method::BootEntry ? RequestBootEntry(bus, request.Entry)
                                                            : RequestFirmwareSetup(bus);
}

}  // namespace daemon_service
