#pragma once

#include <string>

namespace tests {

/// How a program ended, and what it wrote.
struct ProgramRun {
    int Status = 0;
    std::string Output;
    std::string Errors;
};

/// Has a shell run `commandLine` (a program of the build's, its arguments and redirections; other commands
/// may follow) without a display and a service and in a state folder of its own, and waits for its end.
ProgramRun RunProgram(const std::string& commandLine);

}  // namespace tests
