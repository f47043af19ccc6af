#pragma once

// The command line of a program, read by its table. GNU conventions: options anywhere, "--"
// ends them, -ab is -a -b, an argument follows as --name=X, --name X or -nX. Main thread.

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/core/Program.h"

namespace platform {

/// Exit status of a program whose command line or environment cannot be followed.
inline constexpr int kWrongUsageStatus = 2;

/// What a command line asks for.
class ProgramArguments {
  public:
    bool Has(std::string_view name) const { return m_values.contains(name); }

    /// The option's argument, its last where it is given several times; nothing where it is not given.
    std::optional<std::string> Value(std::string_view name) const;

    /// The same as a whole number of seconds, `most` at most. Throws WrongUsage.
    std::optional<std::chrono::seconds> Seconds(std::string_view name, std::chrono::seconds most) const;

    /// What is no option, in order.
    const std::vector<std::string>& Words() const { return m_words; }

  private:
    friend ProgramArguments ParseArguments(const Program&, const std::vector<std::string>&);

    /// By option; empty for one that takes no argument.
    std::map<std::string, std::string, std::less<>> m_values;
    std::vector<std::string> m_words;
};

/// `arguments` without the program's name. With --help or --version nothing else is looked at. Throws
/// WrongUsage.
ProgramArguments ParseArguments(const Program& program, const std::vector<std::string>& arguments);

/// What --help prints: lines of 80 characters at most.
std::string HelpText(const Program& program);

/// The whole of a program's main: secures the standard descriptors, does what every program does, else calls
/// `run`. Reports on standard error what `run` throws. Returns the exit status: what `run` returns,
/// kWrongUsageStatus for WrongUsage, 1 for any other exception and for an output that cannot be written.
int RunProgram(const Program& program, int argc, const char* const* argv,
               const std::function<int(const ProgramArguments&)>& run);

}  // namespace platform
