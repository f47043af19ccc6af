#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/core/ProgramOptions.h"
#include "platform/diagnostics/LoggingLevel.h"

namespace logtool {

/// What kelvane-log's command line asks for.
struct LogOptions {
    bool Follow = false;
    bool Utc = false;
    bool Json = false;
    platform::LoggingLevel Level = platform::LoggingLevel::Verbose;
    /// FILETIME; messages before it are left out.
    std::optional<std::int64_t> Since{};
    /// Files and folders.
    std::vector<std::string> Places;
};

extern const platform::Program kProgram;

/// `now` is a FILETIME. Throws WrongUsage.
LogOptions ReadOptions(const platform::ProgramArguments& arguments, std::int64_t now);

}  // namespace logtool
