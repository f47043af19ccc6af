#pragma once

// What the machine is: the record's fields that name it.

#include "daemon/machine/MachineDetails.h"
#include "daemon/machine/Sources.h"

namespace daemon_service {

/// Fills in everything but memory, BIOS password and ports. Each field is the first value of its table of
/// sources, at the top of Identity.cpp.
void ReadIdentity(Sources& sources, MachineDetails& machine);

}  // namespace daemon_service
