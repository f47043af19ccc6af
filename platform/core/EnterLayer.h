#pragma once

#include <type_traits>
#include <utility>

namespace platform {

/// Inside a catch block: ends the application for the exception in flight, as Lifetime::Fail says; where no
/// application runs, it is only reported on the standard error stream. Any thread.
void FailWithCurrentException() noexcept;

/// Calls `body` for a toolkit or an event loop, whose frames no exception may pass through: one that `body`
/// throws, of any type, ends the application (Lifetime::Fail). Returns what `body` returns, and after an
/// exception a value-initialised result. Any thread.
template <typename Body>
std::invoke_result_t<Body> EnterLayer(Body&& body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        FailWithCurrentException();
    }
    return std::invoke_result_t<Body>();
}

}  // namespace platform
