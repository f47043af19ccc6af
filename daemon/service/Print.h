#pragma once

#include <string>

namespace daemon_service {

/// What the service knows of a machine, for a technician: a line for each field and each USB Type-C port with
/// its value, or the reason why there is none, and its source; then the records as they are served. On
/// standard output; the readers' notes follow on standard error. False when the output cannot be written,
/// which has been reported.
bool PrintMachine(const std::string& sysroot);

}  // namespace daemon_service
