#pragma once

#include <memory>
#include <utility>

#include "platform/core/CoreDispatcher.h"
#include "platform/tasks/task.h"

namespace Kelvane {

/// Runs `work` on a worker and then `show` on the user-interface thread. `show` may hold the page: it goes
/// with the handler, on the user-interface thread.
template <typename Work, typename Show>
void WorkThenShow(std::shared_ptr<platform::CoreDispatcher> dispatcher, Work work, Show show) {
    platform::create_task(std::move(work))
        .then([dispatcher = std::move(dispatcher), show = std::move(show)]() mutable {
            return dispatcher->RunAsync(platform::CoreDispatcherPriority::Normal, std::move(show));
        });
}

}  // namespace Kelvane
