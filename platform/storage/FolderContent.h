#pragma once

#include <filesystem>
#include <system_error>
#include <vector>

namespace platform {

/// What lies in the folder, in no order; `failure` tells what kept it from being read, perhaps in the middle.
/// Throws std::bad_alloc, for which the standard library's own iterator ends the program. Any thread.
std::vector<std::filesystem::path> PathsIn(const std::filesystem::path& folder, std::error_code& failure);

}  // namespace platform
