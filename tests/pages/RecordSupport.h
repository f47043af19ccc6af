#pragma once

#include <algorithm>
#include <optional>
#include <string>

#include "logging/TraceLines.h"
#include "pages/DisplayTexts.h"
#include "platform/core/Text.h"

namespace Kelvane {

/// Shows each key in brackets in place of its text.
inline DisplayTexts Keys(bool hasWindow = true) {
    return {.Lookup = [](std::u16string_view key) { return u"[" + std::u16string(key) + u"]"; },
            .HasWindow = hasWindow};
}

/// In quotes, so that blanks show; "-" for nothing.
inline std::string Quoted(const std::optional<std::u16string>& text) {
    return text ? platform::ToJson(*text) : "-";
}

/// A line for each, as in the golden traces: the first letter of the level, and the text.
inline std::string Readable(const TraceLines& lines) {
    std::string readable;
    for (const auto& line : lines) {
        readable +=
            std::string("    ") + LoggingLevelName(line.Level)[0] + " " + platform::ToUtf8(line.Text) + "\n";
    }
    return readable;
}

/// Without the lines of splits.
inline std::string WithoutSplits(TraceLines lines) {
    std::erase_if(lines, [](const auto& line) {
        return line.Text.find(u"::ParseSystemInfo") != std::u16string::npos ||
               line.Text.find(u"::ParseUSBTypeCInfo") != std::u16string::npos;
    });
    return Readable(lines);
}

}  // namespace Kelvane
