#include "platform/core/Program.h"

namespace platform {

std::vector<ProgramOption> AllOptions(const Program& program) {
    std::vector<ProgramOption> options(program.Options.begin(), program.Options.end());
    options.push_back({.Name = ProgramOption::kHelp, .Letter = 'h', .Help = "show this help and end"});
    options.push_back({.Name = ProgramOption::kVersion, .Letter = 'V', .Help = "show the version and end"});
    // How the build makes the files that shells read.
    options.push_back({.Name = ProgramOption::kCompletion, .Argument = "SHELL"});
    return options;
}

std::string OptionSyntax(const ProgramOption& option) {
    return (option.Letter != 0 ? std::string{'-', option.Letter, ',', ' '} : std::string()) +
           option.Dashed() + (option.Argument.empty() ? "" : " ") + std::string(option.Argument);
}

}  // namespace platform
