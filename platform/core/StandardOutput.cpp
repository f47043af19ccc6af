#include "platform/core/StandardOutput.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform/core/Exception.h"
#include "platform/core/StandardError.h"
#include "platform/core/Text.h"

namespace platform {

namespace {

constexpr const char* kClosed = "the standard output is closed; redirect it, for example with >FILE";

}  // namespace

void SecureStandardDescriptors() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        // The null device, opened for what the descriptor is not used for. It gets the lowest free number.
        const int direction = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
        if (fcntl(descriptor, F_GETFD) < 0 && open("/dev/null", direction) < 0) {
            throw ExceptionFromErrno("open /dev/null in place of a closed standard stream", errno);
        }
    }
}

void RequireStandardOutput() {
    const int flags = fcntl(STDOUT_FILENO, F_GETFL);
    if (flags < 0 || (flags & O_ACCMODE) == O_RDONLY) {
        throw Exception(result::kClosed, u"cannot write: " + FromUtf8(kClosed));
    }
}

bool WriteStandardOutput(std::string_view program, std::string_view text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) {
        return true;
    }
    const int error = errno;
    WriteStandardError({program, ": cannot write: ", error == EBADF ? kClosed : std::strerror(error)});
    return false;
}

}  // namespace platform
