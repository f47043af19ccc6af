#pragma once

#include <cstdint>
#include <optional>

#include "viewmodel/ServiceProblem.h"

namespace Kelvane {

/// What the user can ask the service for.
enum class Request { SystemInformationTool, FirmwareRequest, FirmwareRequestCancel };

/// What came of a request.
struct RequestOutcome {
    Request What = Request::SystemInformationTool;
    /// 0 done, else the service's number for the failure (docs/service.md, Actions).
    std::int64_t Status = 0;
    /// The request did not reach the service, or its answer did not come back.
    std::optional<ServiceProblem> Problem{};
};

}  // namespace Kelvane
