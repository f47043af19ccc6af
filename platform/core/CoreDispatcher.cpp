#include "platform/core/CoreDispatcher.h"

namespace platform {

task<void> CoreDispatcher::RunAsync(CoreDispatcherPriority, std::function<void()> handler) {
    const task_completion_event<void> ended;
    if (m_closed.load()) {
        ended.set_exception(std::make_exception_ptr(task_canceled()));
        return create_task(ended);
    }
    m_pending.fetch_add(1);
    m_loop.Post([self = shared_from_this(), handler = std::move(handler), ended]() mutable {
        std::exception_ptr failure;
        try {
            if (self->m_closed.load()) {
                cancel_current_task();
            }
            handler();
        } catch (...) {
            failure = std::current_exception();
        }
        failure ? ended.set_exception(std::move(failure)) : ended.set();
        // What the handler captured goes while the handler still counts as pending.
        handler = nullptr;
        self->m_pending.fetch_sub(1);
        if (self->m_onHandlerEnded) {
            self->m_onHandlerEnded();
        }
    });
    return create_task(ended);
}

}  // namespace platform
