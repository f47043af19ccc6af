#pragma once

#include <utility>

#include "pages/WindowOfThread.h"
#include "platform/tasks/task.h"

namespace Kelvane {

/// The user-interface thread. Runs `work` on a worker and then `show` here; without a window it only says so
/// in `trace`. `show` may hold the page: it goes with the handler, on the user-interface thread, or on the
/// worker when the window has gone meanwhile and the handler is refused.
template <typename Work, typename Show>
void WorkThenShow(const Trace& trace, Work work, Show show) {
    auto window = WindowOfThread(trace);
    if (!window) {
        return;
    }
    platform::create_task(std::move(work))
        .then([window = std::move(window), show = std::move(show)]() mutable {
            return window->Dispatcher()->RunAsync(platform::CoreDispatcherPriority::Normal, std::move(show));
        });
}

}  // namespace Kelvane
