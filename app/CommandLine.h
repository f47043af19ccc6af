#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "platform/core/ProgramOptions.h"

namespace Kelvane {

/// What the command line asks for.
struct CommandLine {
    enum class Action { Window, Text, Json };

    Action Wanted = Action::Window;
    /// Where to save a picture of the window; empty for none.
    std::string Screenshot;
    /// Window and outputs are to hold nothing that tells this machine from others of its kind.
    bool HidesIdentifiers = false;
    /// How long outputs and pictures wait for the service; 0: as long as it takes.
    std::chrono::seconds Timeout{};
    /// Started by the desktop in the background, without a window.
    bool Background = false;
    /// The launch arguments, or one URI.
    std::vector<std::string> Words;
};

extern const platform::Program kProgram;

CommandLine ReadCommandLine(const platform::ProgramArguments& arguments);

}  // namespace Kelvane
