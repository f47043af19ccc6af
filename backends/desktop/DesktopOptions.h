#pragma once

#include <string>
#include <vector>

namespace desktop {

struct DesktopOptions {
    /// What the first start is reported with: the words of the command line, or one URI.
    std::vector<std::string> Words;
    /// Hand a start to the program that runs already in this session. Otherwise always a program of its own.
    bool SingleInstance = true;
    /// Started by the session bus: begin with a prelaunch and wait for a start.
    bool Background = false;
};

}  // namespace desktop
