#include "platform/tasks/Unobserved.h"

#include <cstdio>
#include <string>

#include "platform/core/Exception.h"

namespace platform {

void ReportUnobserved(std::exception_ptr exception) noexcept {
    try {
        std::rethrow_exception(std::move(exception));
    } catch (...) {
        std::fprintf(stderr, "kelvane: a failure that nothing waited for: %s\n", CurrentException().what());
    }
}

}  // namespace platform
