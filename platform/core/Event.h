#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <utility>
#include <vector>

namespace platform {

/// A list of handlers. Subscribing and raising are allowed on any thread; handlers run one after another on
/// the raising thread, outside the lock, in the order of their subscription.
template <typename... Args>
class Event {
  public:
    using Handler = std::function<void(Args...)>;

    void Add(Handler handler) {
        const std::unique_lock lock(m_mutex);
        m_handlers.push_back(std::make_shared<Handler>(std::move(handler)));
    }

    /// Subscribes a member function of an object that the subscription does not keep alive.
    template <typename Owner>
    void Add(const std::shared_ptr<Owner>& owner, void (Owner::*method)(Args...)) {
        Add([weak = std::weak_ptr<Owner>(owner), method](Args... args) {
            if (const auto held = weak.lock()) {
                (held.get()->*method)(std::forward<Args>(args)...);
            }
        });
    }

    bool HasHandlers() const {
        const std::shared_lock lock(m_mutex);
        return !m_handlers.empty();
    }

    /// If a handler throws, later handlers are skipped and the exception propagates.
    void Raise(Args... args) const {
        std::vector<std::shared_ptr<Handler>> handlers;
        {
            const std::shared_lock lock(m_mutex);
            handlers = m_handlers;
        }
        for (const auto& handler : handlers) {
            (*handler)(args...);
        }
    }

  private:
    mutable std::shared_mutex m_mutex;
    std::vector<std::shared_ptr<Handler>> m_handlers;
};

}  // namespace platform
