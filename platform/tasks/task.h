#pragma once

// Tasks on the default pool's workers, with the names and rules of the platform's task library. A task is a
// shared handle: copies mean the same work. Everything here may be used on any thread, but for waiting, which
// the user-interface thread may not do.

#include <atomic>
#include <concepts>
#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/core/Exception.h"
#include "platform/tasks/Cancellation.h"
#include "platform/tasks/TaskState.h"
#include "platform/tasks/ThreadPool.h"

namespace platform {

template <typename T>
class task;

namespace detail {

template <typename R>
struct Unwrapped {
    using Type = R;
    static constexpr bool kIsTask = false;
};

template <typename U>
struct Unwrapped<task<U>> {
    using Type = U;
    static constexpr bool kIsTask = true;
};

template <typename T, typename F>
decltype(auto) CallWithValue(F& body, const TaskState<T>& state) {
    if constexpr (std::is_void_v<T>) {
        return body();
    } else {
        return body(state.Value());
    }
}

/// True when a continuation takes the earlier task itself, and so its outcome whatever it was.
template <typename T, typename F>
inline constexpr bool kTakesTask = std::invocable<F&, task<T>>;

template <typename T, typename F>
struct ContinuationResult {
    using Type = std::invoke_result_t<F&, const Stored<T>&>;
};

template <typename F>
struct ContinuationResult<void, F> {
    using Type = std::invoke_result_t<F&>;
};

/// The way from a task to its state, for this library's own functions.
struct TaskAccess {
    template <typename T>
    static const std::shared_ptr<TaskState<T>>& StateOf(const task<T>& of) {
        static_cast<void>(of.State());
        return of.m_state;
    }
};

/// Runs `call`, of which this is the last owner, and ends `state` with its outcome; a task that it returns is
/// followed to its end.
template <typename R, typename Call>
void RunInto(const std::shared_ptr<TaskState<typename Unwrapped<R>::Type>>& state,
             std::shared_ptr<Call> call);

}  // namespace detail

/// Work that ends with a T, with an exception, or cancelled. An exception that no wait, get or
/// continuation observes is reported on the standard error stream when the last handle is destroyed.
template <typename T>
class task {
  public:
    /// A task without work; every use but assignment is refused.
    task() = default;

    explicit task(std::shared_ptr<detail::TaskState<T>> state) : m_state(std::move(state)) {}

    explicit operator bool() const { return m_state != nullptr; }

    bool is_done() const { return State().IsDone(); }

    /// Blocks until the work has ended; an exception of the work is thrown again, a cancelled task throws
    /// task_canceled. On the user-interface thread an unfinished task is refused.
    void wait() const {
        State().Wait();
        if (const auto failure = State().Failure()) {
            detail::Rethrow(failure);
        }
    }

    /// wait, then the value.
    T get() const {
        wait();
        if constexpr (!std::is_void_v<T>) {
            return State().Value();
        }
    }

    /// Runs `body` on a worker when this task has ended. A body that takes the task itself always runs; a
    /// body that takes the value runs only after success, and else passes the failure on.
    template <typename F>
    auto then(F body) const {
        static_cast<void>(State());
        if constexpr (detail::kTakesTask<T, F>) {
            return Continue<std::invoke_result_t<F&, task<T>>>(
                [earlier = *this, body = std::move(body)]() mutable { return body(std::move(earlier)); });
        } else {
            return Continue<typename detail::ContinuationResult<T, F>::Type>(
                [state = m_state, body = std::move(body)]() mutable {
                    if (const auto failure = state->Failure()) {
                        detail::Rethrow(failure);
                    }
                    return detail::CallWithValue<T>(body, *state);
                });
        }
    }

  private:
    friend struct detail::TaskAccess;

    detail::TaskState<T>& State() const {
        if (!m_state) {
            throw Exception(result::kIllegalMethodCall,
                            u"This function cannot be called on a default constructed task");
        }
        return *m_state;
    }

    template <typename R, typename Call>
    auto Continue(Call call) const {
        using U = typename detail::Unwrapped<R>::Type;
        auto next = std::make_shared<detail::TaskState<U>>();
        // Shared, since a std::function must be copyable and a captured call need not be.
        auto shared = std::make_shared<Call>(std::move(call));
        m_state->WhenDone([next, shared = std::move(shared)]() mutable {
            // Whoever ended this task is not to blame when there is no thread for the next.
            try {
                ThreadPool::Default().Submit([next, shared = std::move(shared)]() mutable {
                    detail::RunInto<R>(next, std::move(shared));
                });
            } catch (...) {
                next->Fail(std::current_exception());
            }
        });
        return task<U>(std::move(next));
    }

    std::shared_ptr<detail::TaskState<T>> m_state;
};

namespace detail {

template <typename R, typename Call>
void RunInto(const std::shared_ptr<TaskState<typename Unwrapped<R>::Type>>& state,
             std::shared_ptr<Call> call) {
    std::exception_ptr failure;
    // Destroys what the call captured before the task counts as ended.
    try {
        if constexpr (Unwrapped<R>::kIsTask) {
            const auto source = TaskAccess::StateOf((*call)());
            call.reset();
            source->WhenDone([state, source] {
                if (const auto innerFailure = source->Failure()) {
                    state->Fail(CopyOf(innerFailure));
                } else {
                    state->Complete(source->Value());
                }
            });
        } else if constexpr (std::is_void_v<R>) {
            (*call)();
            call.reset();
            state->Complete({});
        } else {
            Stored<R> value = (*call)();
            call.reset();
            state->Complete(std::move(value));
        }
    } catch (...) {
        failure = std::current_exception();
    }
    // After the catch block has released the exception, so that the task holds the only reference.
    if (failure) {
        call.reset();
        state->Fail(std::move(failure));
    }
}

}  // namespace detail

/// Starts `body` on a worker. With a token that is cancelled before the body starts, the task ends cancelled.
template <typename F>
requires std::invocable<F&>
auto create_task(F body, cancellation_token token = cancellation_token::none()) {
    using R = std::invoke_result_t<F&>;
    using U = typename detail::Unwrapped<R>::Type;
    auto state = std::make_shared<detail::TaskState<U>>();
    auto call = [body = std::move(body), token]() mutable -> R {
        if (token.is_canceled()) {
            cancel_current_task();
        }
        return body();
    };
    auto shared = std::make_shared<decltype(call)>(std::move(call));
    ThreadPool::Default().Submit(
        [state, shared = std::move(shared)]() mutable { detail::RunInto<R>(state, std::move(shared)); });
    return task<U>(std::move(state));
}

/// A task that has ended.
inline task<void> task_from_result() {
    auto state = std::make_shared<detail::TaskState<void>>();
    state->Complete({});
    return task<void>(std::move(state));
}

template <typename T>
task<T> task_from_result(T value) {
    auto state = std::make_shared<detail::TaskState<T>>();
    state->Complete(std::move(value));
    return task<T>(std::move(state));
}

/// Ends when all tasks from `first` to `last` have ended; with the failure of the first among them that has
/// failed.
template <typename Iterator>
task<void> when_all(Iterator first, Iterator last) {
    const std::vector<task<void>> tasks(first, last);
    const auto all = std::make_shared<detail::TaskState<void>>();
    // One more than there are tasks, so that an empty range ends as well.
    const auto open = std::make_shared<std::atomic<std::size_t>>(tasks.size() + 1);
    const auto ended = [all, open, tasks] {
        if (open->fetch_sub(1) != 1) {
            return;
        }
        for (const auto& each : tasks) {
            if (const auto failure = detail::TaskAccess::StateOf(each)->Failure()) {
                all->Fail(detail::CopyOf(failure));
                return;
            }
        }
        all->Complete({});
    };
    for (const auto& each : tasks) {
        detail::TaskAccess::StateOf(each)->WhenDone(ended);
    }
    ended();
    return task<void>(all);
}

/// A task that is ended from outside: by set or set_exception, of which the first counts.
template <typename T>
class task_completion_event {
  public:
    // By a copy of the pointer: what goes on after the task may destroy the event.
    void set(detail::Stored<T> value = {}) const { std::shared_ptr(m_state)->Complete(std::move(value)); }
    void set_exception(std::exception_ptr exception) const {
        std::shared_ptr(m_state)->Fail(std::move(exception));
    }

  private:
    template <typename U>
    friend task<U> create_task(const task_completion_event<U>& event);

    std::shared_ptr<detail::TaskState<T>> m_state = std::make_shared<detail::TaskState<T>>();
};

template <typename T>
task<T> create_task(const task_completion_event<T>& event) {
    return task<T>(event.m_state);
}

}  // namespace platform
