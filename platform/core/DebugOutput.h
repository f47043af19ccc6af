#pragma once

#include <string_view>

namespace platform {

/// Writes "debug: " and `text`, as ToVisible shows it, as one line to the standard error stream when
/// KELVANE_DEBUG=1 is set, else nowhere: debug texts may hold whole records. A line end at its end is left
/// out. Any thread; never throws.
void OutputDebugStringW(std::u16string_view text) noexcept;

}  // namespace platform
