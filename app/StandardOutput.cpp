#include "app/StandardOutput.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace Kelvane {

bool WriteStandardOutput(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) {
        return true;
    }
    std::fprintf(stderr, "kelvane: cannot write: %s\n", std::strerror(errno));
    return false;
}

}  // namespace Kelvane
