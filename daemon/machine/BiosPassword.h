#pragma once

// Whether a credential guards the firmware's settings or the start. Only whether one is set is ever read;
// nothing here touches the credentials themselves.

#include <string>
#include <vector>

#include "daemon/machine/Sourced.h"
#include "daemon/machine/Sources.h"

namespace daemon_service {

/// The numbers of the record's field.
enum class BiosCredential { None = 0, Password = 1, OtherKind = 16 };

/// From the kernel's firmware-attributes class, else from the firmware's table of type 24. Uncertain states
/// are never reported as None. `kinds` gets the roles of those that are set.
Sourced<BiosCredential> ReadBiosPassword(Sources& sources, std::vector<std::string>& kinds);

}  // namespace daemon_service
