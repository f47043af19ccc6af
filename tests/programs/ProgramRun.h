#pragma once

#include <string>

namespace tests {

/// How a program ended, and what it wrote.
struct ProgramRun {
    int Status = 0;
    std::string Output;
    std::string Errors;
};

/// Runs `commandLine` (a program of the build's, and its arguments and redirections as a shell reads them)
/// with `environment`
/// ("NAME=value ...") besides the test's own, without a display, and waits for its end.
ProgramRun RunProgram(const std::string& commandLine, const std::string& environment = {});

}  // namespace tests
