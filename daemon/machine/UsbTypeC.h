#pragma once

// The USB Type-C record: six fields that tell the best of each capability over all ports.

#include <vector>

#include "daemon/machine/SystemInformation.h"
#include "daemon/machine/TypeCPorts.h"

namespace daemon_service {

/// In record order; none for a machine without a port, whose record is the empty text.
std::vector<Field> UsbTypeCFields(const std::vector<TypeCPort>& ports);

/// The fields for the ports of `files`. Never throws for what it holds.
std::vector<Field> ReadUsbTypeC(MachineFiles& files);

}  // namespace daemon_service
