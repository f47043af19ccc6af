#pragma once

#include <initializer_list>
#include <string_view>

namespace platform {

/// Writes the parts, UTF-8, as one line to the standard error stream, in one write, so that the lines of
/// several threads do not mix. Parts may come from anywhere: they are shown as ToVisible shows them. Any
/// thread; never throws, and a stream that fails is ignored.
void WriteStandardError(std::initializer_list<std::string_view> parts) noexcept;

}  // namespace platform
