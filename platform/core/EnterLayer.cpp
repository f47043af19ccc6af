#include "platform/core/EnterLayer.h"

#include <cstdio>

#include "platform/core/Lifetime.h"
#include "platform/core/Provided.h"

namespace platform {

void FailWithCurrentException() noexcept {
    const auto failure = CurrentException();
    try {
        Provided<Lifetime>::Current().Fail(failure);
    } catch (const Exception&) {
        std::fprintf(stderr, "kelvane: %s\n", failure.what());
    }
}

}  // namespace platform
