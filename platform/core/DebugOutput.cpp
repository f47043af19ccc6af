#include "platform/core/DebugOutput.h"

#include <cstdlib>
#include <exception>

#include "platform/core/StandardError.h"
#include "platform/core/Text.h"

namespace platform {

void OutputDebugStringW(std::u16string_view text) noexcept {
    static const bool enabled = [] {
        const char* value = std::getenv("KELVANE_DEBUG");
        return value != nullptr && std::string_view(value) == "1";
    }();
    if (!enabled) {
        return;
    }
    if (text.ends_with(u'\n')) {
        text.remove_suffix(1);
    }
    try {
        WriteStandardError({"debug: ", ToUtf8(text)});
    } catch (const std::exception&) {
        WriteStandardError({"kelvane: not enough memory for a debug text"});
    }
}

}  // namespace platform
