#pragma once

namespace platform {

/// How much a message matters, by the platform's numbers.
enum class LoggingLevel { Verbose = 0, Information = 1, Warning = 2, Error = 3, Critical = 4 };

/// "Verbose" and so on.
const char* LoggingLevelName(LoggingLevel level);

}  // namespace platform
