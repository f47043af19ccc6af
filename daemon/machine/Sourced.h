#pragma once

// A value with the source that told it, or the reason why there is none.

#include <optional>
#include <string>
#include <utility>

namespace daemon_service {

enum class Missing {
    NotReported,  ///< the source is there and empty
    Placeholder,  ///< a text that every machine of the kind has
    Absent,       ///< the machine has no such source
    Denied,       ///< the service may not read it
    Damaged,      ///< what is there breaks its format's rules
    Unknown,
};

template <typename T>
struct Sourced {
    std::optional<T> Value{};
    /// Where the value was read, or the source that should have had it, in a form that a technician can look
    /// up: "smbios 1.7", "sysfs class/dmi/id/product_serial", "proc meminfo". Empty when nothing was read.
    std::string Source{};
    /// Why there is no value.
    Missing Why = Missing::Unknown;
    /// The placeholder's text, or the system's error. May be empty.
    std::string Detail{};
};

using SourcedText = Sourced<std::u16string>;

}  // namespace daemon_service
