#pragma once

// What the firmware or the boot loader does at the next start, as the session manager knows and sets it. Each
// function blocks as SystemBus does. Any thread.

#include <optional>
#include <string>

#include "daemon/actions/ActionError.h"
#include "daemon/actions/Configuration.h"

namespace daemon_service {

/// Has the session manager set it: asks first whether it can, calls it only when something changes, and reads
/// the result back. Returns the English sentence that says what will happen. Throws ActionError.
std::string SetFirmwareFlag(const FirmwareRequest& request);

/// Takes back what SetFirmwareFlag has set; does nothing when that is not set. Throws ActionError.
void CancelFirmwareFlag(const FirmwareRequest& request);

struct FirmwareFlagState {
    bool Pending = false;
    /// What SetFirmwareFlag would fail with; nothing when it can be done.
    std::optional<ActionError::Status> Failure{};
};

FirmwareFlagState ReadFirmwareFlag(const FirmwareRequest& request);

}  // namespace daemon_service
