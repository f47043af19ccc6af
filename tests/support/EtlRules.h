#pragma once

// The rules of the event-trace format as an independent check: the offsets stand here once more as numbers,
// so that a mistake in the writer's description of the format does not hide itself.

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace tests {

/// What a complete log file breaks; empty for a sound one.
std::vector<std::string> BrokenRules(std::span<const std::byte> file);

}  // namespace tests
