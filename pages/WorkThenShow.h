#pragma once

#include <memory>
#include <utility>

#include "pages/WindowOfThread.h"
#include "platform/tasks/task.h"

namespace Kelvane {

/// Runs `show` on the dispatcher's thread when `work` has ended well; the task ends with it, or fails as
/// `work` did. `show` may hold the page: what it captured is released on the user-interface thread, also when
/// it never runs. Any thread.
template <typename Show>
platform::task<void> ThenShow(const platform::task<void>& work,
                              std::shared_ptr<platform::CoreDispatcher> dispatcher, Show show) {
    auto held = dispatcher->Hold(std::make_shared<Show>(std::move(show)));
    return work.then([dispatcher = std::move(dispatcher), held = std::move(held)]() mutable {
        return dispatcher->RunAsync(platform::CoreDispatcherPriority::Normal,
                                    [held = std::move(held)] { (*held)(); });
    });
}

/// The user-interface thread. Runs `work` on a worker and then `show` here; without a window it only says so
/// in `trace`.
template <typename Work, typename Show>
void WorkThenShow(const Trace& trace, Work work, Show show) {
    if (const auto window = WindowOfThread(trace)) {
        ThenShow(platform::create_task(std::move(work)), window->Dispatcher(), std::move(show));
    }
}

}  // namespace Kelvane
