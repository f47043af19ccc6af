#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Kelvane {

/// Why the service's data is not there.
struct ServiceProblem {
    /// A status of the service link, as kNoInterface is, -1 for a failure without one, or one of those below.
    std::int64_t Status = -1;
    /// The user whose process listens at the service's endpoint, by name; empty where there was none.
    std::u16string Listener{};
    /// The user that the program runs as, by name.
    std::u16string User{};

    bool operator==(const ServiceProblem&) const = default;
};

/// The record came and has too few fields (ERROR_INVALID_DATA).
inline constexpr std::int64_t kRecordUnusable = 13;
/// The service has no such interface, as one that knows no details (RPC_S_UNKNOWN_IF).
inline constexpr std::int64_t kNoInterface = 1717;
/// No answer came in time (ERROR_TIMEOUT).
inline constexpr std::int64_t kNoAnswer = 1460;

/// Where the package has the texts about a problem: the resources KEY/Title, what it is, and KEY/Message,
/// what to do.
std::u16string_view ResourceKeyOf(const ServiceProblem& problem);

}  // namespace Kelvane
