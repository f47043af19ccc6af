#pragma once

// What a run without a person at the window says of the service, on standard error. User-interface thread.

#include <chrono>
#include <functional>

#include "platform/core/EventLoop.h"

namespace Kelvane {

/// Calls `done` once: with true when the start has read all that it can get, or with false when the
/// service has not answered within `limit` (0: there is none), which has then been said; with true, too, when
/// only the details have not come by then. Says after two seconds that it waits. `loop` is the world's.
void WhenServiceAnswered(platform::EventLoop& loop, std::chrono::seconds limit,
                         std::function<void(bool answered)> done);

/// Says which of the data is missing, why, and what to do. Returns whether nothing is. A
/// service without the details interface gives all that it has.
bool ReportMissingData();

}  // namespace Kelvane
