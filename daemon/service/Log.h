#pragma once

#include <string_view>

namespace daemon_service {

/// syslog's numbers, which the journal reads at the start of a line.
enum class Priority { Error = 3, Warning = 4, Notice = 5, Information = 6 };

/// Writes one line to standard error, with a priority prefix where the journal reads it. `text` is
/// shown as ToVisible shows it, so nothing that came from outside can pose as a line of its own. Any thread;
/// never throws.
void Log(Priority priority, std::string_view text) noexcept;

}  // namespace daemon_service
