#include "platform/diagnostics/LoggingLevel.h"

#include <array>
#include <cstddef>

namespace platform {

const char* LoggingLevelName(LoggingLevel level) {
    static constexpr std::array kNames = {"Verbose", "Information", "Warning", "Error", "Critical"};
    return kNames[static_cast<std::size_t>(level)];
}

}  // namespace platform
