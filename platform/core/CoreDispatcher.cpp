#include "platform/core/CoreDispatcher.h"

#include "platform/core/Exception.h"

namespace platform {

namespace {

std::exception_ptr WindowGone() {
    return std::make_exception_ptr(Exception(result::kClosed, u"The window has been closed."));
}

}  // namespace

task<void> CoreDispatcher::RunAsync(CoreDispatcherPriority, std::function<void()> handler) {
    const task_completion_event<void> ended;
    if (m_closed.load()) {
        ended.set_exception(WindowGone());
        return create_task(ended);
    }
    m_pending.fetch_add(1);
    m_loop.Post([self = shared_from_this(), handler = std::move(handler), ended]() mutable {
        try {
            if (self->m_closed.load()) {
                std::rethrow_exception(WindowGone());
            }
            handler();
            ended.set();
        } catch (...) {
            ended.set_exception(std::current_exception());
        }
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
