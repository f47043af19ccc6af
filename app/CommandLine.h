#pragma once

#include <string>
#include <vector>

namespace Kelvane {

/// What the command line asks for.
struct CommandLine {
    enum class Action { Window, Text, Json, Help, Version, Invalid };

    Action Wanted = Action::Window;
    /// Where to save a picture of the window; empty for none.
    std::string Screenshot;
    /// Started by the desktop in the background, without a window.
    bool Background = false;
    /// The launch arguments, or one URI.
    std::vector<std::string> Words;
    /// Why the command line is invalid.
    std::string Problem;
};

/// `arguments` without the program's name. Options come before the words; "--" ends them. Nothing is read
/// after --help or --version.
CommandLine ParseCommandLine(const std::vector<std::string>& arguments);

/// What --help prints.
extern const char* const kUsage;

}  // namespace Kelvane
