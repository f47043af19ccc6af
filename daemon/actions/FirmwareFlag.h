#pragma once

#include <string>

#include "daemon/actions/Configuration.h"

namespace daemon_service {

/// Has the session manager set what the firmware or the boot loader does at the next start: it is asked first
/// whether it can, written only when something changes, and read back. Returns the English sentence that says
/// what will happen. Blocks as SystemBus does; any thread; throws ActionError.
std::string SetFirmwareFlag(const FirmwareRequest& request);

}  // namespace daemon_service
