#pragma once

#include <string_view>

namespace platform {

/// Opens the descriptors 0, 1 and 2 where the program was started without them, so that no file that it opens
/// becomes one of them and gets its output. They stay unusable: reading and writing fail as before. Call it
/// before anything opens a file. A failure is a platform exception.
void SecureStandardDescriptors();

/// Throws a platform exception when the program was started without a standard output.
void RequireStandardOutput();

/// Writes `text` to the standard output at once. When that fails, says why on the standard error stream, as
/// `program`, and returns false.
bool WriteStandardOutput(std::string_view program, std::string_view text);

}  // namespace platform
