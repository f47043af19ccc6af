#include "platform/tasks/Unobserved.h"

#include "platform/core/Exception.h"
#include "platform/core/StandardError.h"

namespace platform {

void ReportUnobserved(std::exception_ptr exception) noexcept {
    try {
        std::rethrow_exception(std::move(exception));
    } catch (...) {
        WriteStandardError({"kelvane: a failure that nothing waited for: ", CurrentException().what()});
    }
}

}  // namespace platform
