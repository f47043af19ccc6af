#pragma once

#include <string_view>

namespace platform {

/// Writes `text` to the standard output at once. When that fails, says why on the standard error stream, as
/// `program`, and returns false.
bool WriteStandardOutput(std::string_view program, std::string_view text);

}  // namespace platform
