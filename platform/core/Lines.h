#pragma once

// Texts of lines, and lines of a key and its value: what the kernel, os-release(5), the device manager's
// database and configuration files are made of. The views point into the text that they were cut from.

#include <optional>
#include <string_view>
#include <vector>

namespace platform {

/// Without the blanks, line ends and zeros around it.
std::string_view Trimmed(std::string_view text);

/// In order, without their line ends; an empty line counts, what follows the last line end only if it is not
/// empty.
std::vector<std::string_view> Lines(std::string_view text);

struct KeyValue {
    std::string_view Key;
    std::string_view Value;
};

/// A "key: value" or "KEY=value" line, both trimmed; nothing for a line without the separator.
std::optional<KeyValue> CutLine(std::string_view line, char separator);

/// The trimmed value of the first line with that key.
std::optional<std::string_view> LineValue(std::string_view text, std::string_view key, char separator);

/// The same of the last such line, as a shell that reads the file would have it.
std::optional<std::string_view> LastLineValue(std::string_view text, std::string_view key, char separator);

}  // namespace platform
