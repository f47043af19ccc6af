#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <utility>
#include <vector>

namespace platform {

/// Identifies one subscription of one event.
struct EventToken {
    std::uint64_t value = 0;
};

/// A list of handlers. Subscribing and raising are allowed on any thread; handlers run one after another on
/// the raising thread, outside the lock, in the order of their subscription.
template <typename... Args>
class Event {
  public:
    using Handler = std::function<void(Args...)>;

    EventToken Add(Handler handler) {
        const std::unique_lock lock(m_mutex);
        m_handlers.emplace_back(++m_last, std::make_shared<Handler>(std::move(handler)));
        return {m_last};
    }

    /// Subscribes a member function of an object that the subscription does not keep alive.
    template <typename Owner>
    EventToken Add(const std::shared_ptr<Owner>& owner, void (Owner::*method)(Args...)) {
        return Add([weak = std::weak_ptr<Owner>(owner), method](Args... args) {
            if (const auto held = weak.lock()) {
                (held.get()->*method)(std::forward<Args>(args)...);
            }
        });
    }

    /// A token that is not known is ignored.
    void Remove(EventToken token) {
        const std::unique_lock lock(m_mutex);
        std::erase_if(m_handlers, [token](const auto& entry) { return entry.first == token.value; });
    }

    bool HasHandlers() const {
        const std::shared_lock lock(m_mutex);
        return !m_handlers.empty();
    }

    /// An exception of a handler ends the round and reaches the caller.
    void Raise(Args... args) const {
        std::vector<std::shared_ptr<Handler>> handlers;
        {
            const std::shared_lock lock(m_mutex);
            handlers.reserve(m_handlers.size());
            for (const auto& entry : m_handlers) {
                handlers.push_back(entry.second);
            }
        }
        for (const auto& handler : handlers) {
            (*handler)(args...);
        }
    }

  private:
    mutable std::shared_mutex m_mutex;
    std::vector<std::pair<std::uint64_t, std::shared_ptr<Handler>>> m_handlers;
    std::uint64_t m_last = 0;
};

}  // namespace platform
