#pragma once

// What a program's command line can be. Each program has one table of its options; its parsing, --help, what
// shells complete and the check of its man page come from that table. Any thread.

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
    /// The argument's values, with blanks between them, where they are few; a shell offers them.
    std::string_view Choices = {};
    /// What it does, for --help; empty for an option that --help does not mention.
    std::string_view Help = {};
    /// A program does one of its exclusive options at most.
    bool Exclusive = false;

    /// What every program has.
    static constexpr std::string_view kHelp = "help";
    static constexpr std::string_view kVersion = "version";
    static constexpr std::string_view kCompletion = "completion";

    std::string Dashed() const { return "--" + std::string(Name); }
};

/// A program, by its command line. Every program has --help, --version and --completion besides its own
/// options.
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
    bool WordsAreFiles = false;
};

/// A command line, or a variable of the environment, that cannot be followed: what is wrong, and the way out.
class WrongUsage : public std::runtime_error {
  public:
    using runtime_error::runtime_error;
};

/// The program's options with those that every program has, which stand last.
std::vector<ProgramOption> AllOptions(const Program& program);

/// How --help and the man page write an option: "-l, --level L".
std::string OptionSyntax(const ProgramOption& option);

}  // namespace platform
