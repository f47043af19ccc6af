#pragma once

#include <string>
#include <vector>

#include "logging/TraceLines.h"
#include "pages/DisplayTexts.h"
#include "platform/core/Text.h"

namespace Kelvane {

/// Shows each key in brackets in place of its text.
inline DisplayTexts Keys() {
    return {.Lookup = [](std::u16string_view key) { return u"[" + std::u16string(key) + u"]"; }};
}

/// As in the golden traces: the first letter of the level, and the text.
inline std::vector<std::string> Readable(const TraceLines& lines) {
    std::vector<std::string> readable;
    for (const auto& line : lines) {
        readable.push_back(LoggingLevelName(line.Level)[0] + (" " + platform::ToUtf8(line.Text)));
    }
    return readable;
}

}  // namespace Kelvane
