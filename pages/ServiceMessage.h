#pragma once

#include <optional>
#include <string>

#include "pages/DisplayTexts.h"
#include "viewmodel/ServiceProblem.h"

namespace Kelvane {

/// What a user reads of a problem with the service, as sentences.
struct ServiceMessage {
    /// What it is.
    std::u16string Title;
    /// What to do.
    std::u16string Message;
};

ServiceMessage MessageOf(const ServiceProblem& problem, const DisplayTexts& texts);

/// Why a record is missing, the system information's first; nothing when both are there. `hasValues`: the
/// cached record of system information has them.
std::optional<ServiceMessage> MessageOfMissingRecord(bool hasValues, const DisplayTexts& texts);

}  // namespace Kelvane
