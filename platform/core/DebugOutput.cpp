#include "platform/core/DebugOutput.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

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
    try {
        std::string line = ToValidUtf8(text);
        if (line.empty() || line.back() != '\n') {
            line += '\n';
        }
        std::fwrite(line.data(), 1, line.size(), stderr);
    } catch (const std::exception&) {
        std::fputs("kelvane: not enough memory for a debug text\n", stderr);
    }
}

}  // namespace platform
