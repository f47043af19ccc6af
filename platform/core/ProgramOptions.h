#pragma once

// The command line of a program. Each program has one table of its options; its parsing, --help and the check
// of its man page come from that table. GNU conventions: options anywhere, "--" ends them, -ab is -a -b, an
// argument follows as --name=X, --name X or -nX. Main thread.

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// One option of a program.
struct ProgramOption {
    /// Without its dashes.
    std::string_view Name;
    /// Of its short form; 0 for none.
    char Letter = 0;
    /// What --help calls the argument; empty for an option that takes none. An empty argument is refused.
    std::string_view Argument = {};
    /// What it does, for --help; empty for an option that --help does not mention.
    std::string_view Help = {};
    /// A program does one of its exclusive options at most.
    bool Exclusive = false;
};

/// A program, by its command line. Every program has --help and --version besides its own options.
struct Program {
    std::string_view Name;
    /// What follows the name in the first lines of --help, a line for each form.
    std::span<const std::string_view> Synopses;
    /// A paragraph without line ends, which --help shows before the options.
    std::string_view Summary;
    /// Lines that --help shows after them.
    std::string_view Notes;
    std::span<const ProgramOption> Options;
    /// Whether it takes words that are no options.
    bool TakesWords = false;
};

/// Exit status of a program whose command line or environment cannot be followed.
inline constexpr int kWrongUsageStatus = 2;

/// A command line, or a variable of the environment, that cannot be followed: what is wrong, and the way out.
class WrongUsage : public std::runtime_error {
  public:
    using runtime_error::runtime_error;
};

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

/// The program's options with --help and --version, which stand last.
std::vector<ProgramOption> AllOptions(const Program& program);

/// How --help and the man page write an option: "-l, --level L".
std::string OptionSyntax(const ProgramOption& option);

/// `arguments` without the program's name. With --help or --version nothing else is looked at. Throws
/// WrongUsage.
ProgramArguments ParseArguments(const Program& program, const std::vector<std::string>& arguments);

/// What --help prints: lines of 80 characters at most.
std::string HelpText(const Program& program);

/// The whole of a program's main: secures the standard descriptors, does --help and --version, else calls
/// `run`. Reports on standard error what `run` throws. Returns the exit status: what `run` returns,
/// kWrongUsageStatus for WrongUsage, 1 for any other exception and for an output that cannot be written.
int RunProgram(const Program& program, int argc, const char* const* argv,
               const std::function<int(const ProgramArguments&)>& run);

}  // namespace platform
