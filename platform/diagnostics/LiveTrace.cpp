#include "platform/diagnostics/LiveTrace.h"

#include <cstdio>
#include <cstdlib>

#include "platform/core/StandardError.h"
#include "platform/core/Text.h"
#include "platform/tasks/Clock.h"

namespace platform {

bool IsLiveTraceOn() {
    static const bool on = [] {
        const char* value = std::getenv("KELVANE_TRACE");
        return value != nullptr && std::string_view(value) == "1";
    }();
    return on;
}

void WriteLiveTrace(std::u16string_view text, LoggingLevel level) {
    const auto now = GetLocalTime();
    char time[16];
    std::snprintf(time, sizeof time, "%02u:%02u:%02u.%03u", now.Hour % 100U, now.Minute % 100U,
                  now.Second % 100U, now.Milliseconds % 1000U);
    WriteStandardError({time, " ", LoggingLevelName(level), " ", ToUtf8(text)});
}

}  // namespace platform
