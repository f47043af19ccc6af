#pragma once

// Runs the readers, each with the sources that it needs.

#include "daemon/machine/MachineDetails.h"
#include "daemon/machine/MachineFiles.h"

namespace daemon_service {

/// Never throws for what the files hold; a note says for each field without a value why it has none.
MachineDetails ReadMachine(MachineFiles& files);

/// The same but for the ports, which stay empty.
MachineDetails ReadSystem(MachineFiles& files);

}  // namespace daemon_service
