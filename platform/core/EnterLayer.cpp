#include "platform/core/EnterLayer.h"

#include "platform/core/Lifetime.h"
#include "platform/core/Provided.h"
#include "platform/core/StandardError.h"

namespace platform {

void FailWithCurrentException() noexcept {
    const auto failure = CurrentException();
    try {
        Provided<Lifetime>::Current().Fail(failure);
    } catch (const Exception&) {
        WriteStandardError({"kelvane: ", failure.what()});
    }
}

}  // namespace platform
