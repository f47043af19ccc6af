#pragma once

#include "daemon/service/Options.h"

namespace daemon_service {

/// Serves the interface until SIGTERM or SIGINT, or until it was idle for as long as the options allow.
/// Returns the process's exit status. Call it before the process has other threads.
int Serve(const Options& options);

}  // namespace daemon_service
