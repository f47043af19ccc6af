#pragma once

#include <memory>

#include "logging/Trace.h"
#include "platform/core/ExtendedExecution.h"

namespace Kelvane {

/// A request of the user's that is not answered yet: while the result is held, the end of the program waits
/// for the service. When it waits no longer, the trace of the method `name` says so. User-interface thread;
/// released on any.
inline std::shared_ptr<platform::ExtendedExecutionSession> RequestInProgress(MethodName name) {
    return std::make_shared<platform::ExtendedExecutionSession>([trace = Trace(name)] {
        trace.Error(u"The program ends before the service has answered the request.");
    });
}

}  // namespace Kelvane
