#include "platform/tasks/task.h"

#include <atomic>

namespace platform {

task<void> when_all(std::vector<task<void>> tasks) {
    if (tasks.empty()) {
        return task_from_result();
    }
    struct Join {
        std::vector<task<void>> tasks;
        std::atomic<std::size_t> left;
    };
    auto state = std::make_shared<detail::TaskState<void>>();
    auto join = std::make_shared<Join>();
    join->left = tasks.size();
    join->tasks = std::move(tasks);
    for (const auto& each : join->tasks) {
        detail::TaskAccess::StateOf(each)->WhenDone([state, join] {
            if (join->left.fetch_sub(1) != 1) {
                return;
            }
            std::exception_ptr first;
            for (const auto& ended : join->tasks) {
                const auto failure = detail::TaskAccess::StateOf(ended)->Failure();
                if (failure && !first) {
                    first = failure;
                }
            }
            // Each task's continuation holds the join, and the join holds the tasks.
            join->tasks.clear();
            if (first) {
                state->Fail(first);
            } else {
                state->Complete({});
            }
        });
    }
    return task<void>(std::move(state));
}

}  // namespace platform
