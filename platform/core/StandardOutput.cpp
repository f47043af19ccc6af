#include "platform/core/StandardOutput.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

namespace platform {

bool WriteStandardOutput(std::string_view program, std::string_view text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) {
        return true;
    }
    const int error = errno;
    std::fprintf(stderr, "%s: cannot write: %s\n", std::string(program).c_str(), std::strerror(error));
    return false;
}

}  // namespace platform
