#include "platform/core/StandardError.h"

#include <cstdio>
#include <exception>
#include <string>

#include "platform/core/Text.h"

namespace platform {

void WriteStandardError(std::initializer_list<std::string_view> parts) noexcept {
    try {
        std::string line;
        for (const auto part : parts) {
            line += ToVisible(part);
        }
        line += '\n';
        std::fwrite(line.data(), 1, line.size(), stderr);
    } catch (const std::exception&) {
        std::fputs("kelvane: not enough memory for a message\n", stderr);
    }
}

}  // namespace platform
