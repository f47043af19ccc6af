#pragma once

#include <string>

namespace Kelvane {

/// Writes `text` to the standard output at once. When that fails, says why on the standard error stream and
/// returns false.
bool WriteStandardOutput(const std::string& text);

}  // namespace Kelvane
