#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/diagnostics/EventTraceReader.h"

namespace Kelvane {

/// A log as a text that is the same after each run: each message behind the first letter of its level, the
/// user-interface thread's first, then those of the workers, which run one after the other. Only the two
/// reads of a hotkey start run at once: there the lines of each read follow by themselves, and those of
/// methods that both call are sorted. A message that begins with "==" is the test's own and begins a section,
/// all workers having ended; one that begins with
/// ">" or "|" says what the user did or saw. Without `whole` only sections named "== step ..." are in the
/// text. The lines of the read of the details, which runs beside everything else, are not.
std::string TraceText(std::vector<platform::etl::TraceEvent> events, std::uint32_t userInterfaceThread,
                      bool whole);

/// Those lines, the user-interface thread's first.
std::string DetailsText(const std::vector<platform::etl::TraceEvent>& events,
                        std::uint32_t userInterfaceThread);

}  // namespace Kelvane
