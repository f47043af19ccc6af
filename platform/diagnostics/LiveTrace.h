#pragma once

// The live view of all messages on the standard error stream, switched on by KELVANE_TRACE=1.

#include <string_view>

#include "platform/diagnostics/LoggingLevel.h"

namespace platform {

/// Looked up once a process. Any thread.
bool IsLiveTraceOn();

/// Writes "HH:MM:SS.mmm LEVEL message" and a line end, local time, the message as ToVisible shows
/// it. Any thread; a failing stream is ignored.
void WriteLiveTrace(std::u16string_view text, LoggingLevel level);

}  // namespace platform
