#include "platform/core/ProgramOptions.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>

#include "platform/core/Commit.h"
#include "platform/core/Completion.h"
#include "platform/core/Exception.h"
#include "platform/core/StandardError.h"
#include "platform/core/StandardOutput.h"

namespace platform {

namespace {

constexpr std::size_t kLineLength = 80;

std::string NeedsArgument(const ProgramOption& option) {
    return option.Dashed() + " needs an argument: " + option.Dashed() + " " + std::string(option.Argument);
}

/// The library takes "--name=" for "--name", and words its own refusal of "--flag=x".
void VerifyAssignments(const std::vector<ProgramOption>& options, const std::vector<std::string>& arguments) {
    for (const auto& argument : arguments) {
        if (argument == "--") {
            return;
        }
        for (const auto& option : options) {
            if (argument == option.Dashed() + "=" && !option.Argument.empty()) {
                throw WrongUsage(NeedsArgument(option));
            }
            if (argument.starts_with(option.Dashed() + "=") && option.Argument.empty()) {
                throw WrongUsage(option.Dashed() + " takes no argument");
            }
        }
    }
}

void VerifyExclusive(const std::vector<ProgramOption>& options, const ProgramArguments& arguments) {
    const ProgramOption* first = nullptr;
    for (const auto& option : options) {
        if (!option.Exclusive || !arguments.Has(option.Name)) {
            continue;
        }
        if (first != nullptr) {
            throw WrongUsage(first->Dashed() + " and " + option.Dashed() +
                             " cannot be used together; choose one");
        }
        first = &option;
    }
}

/// The words among what is left over when the options are taken out.
std::vector<std::string> WordsOf(const Program& program, std::vector<std::string> rest) {
    const auto end = std::find(rest.begin(), rest.end(), "--");
    const auto option = std::find_if(
        rest.begin(), end, [](const std::string& word) { return word.size() > 1 && word[0] == '-'; });
    if (option != end) {
        throw WrongUsage("unknown option '" + *option + "'");
    }
    if (end != rest.end()) {
        rest.erase(end);
    }
    if (!program.TakesWords && !rest.empty()) {
        throw WrongUsage("unexpected argument '" + rest.front() + "'");
    }
    return rest;
}

/// Appends the words of `text`, each line but the first behind `indent` blanks.
void AppendWrapped(std::string& lines, std::string_view text, std::size_t indent) {
    std::size_t column = indent;
    while (!text.empty()) {
        const auto word = text.substr(0, text.find(' '));
        text.remove_prefix(std::min(word.size() + 1, text.size()));
        if (column > indent && column + 1 + word.size() > kLineLength) {
            lines += "\n" + std::string(indent, ' ');
            column = indent;
        } else if (column > indent) {
            lines += " ";
            ++column;
        }
        lines += word;
        column += word.size();
    }
    lines += "\n";
}

}  // namespace

std::optional<std::string> ProgramArguments::Value(std::string_view name) const {
    const auto found = m_values.find(name);
    return found != m_values.end() ? std::optional(found->second) : std::nullopt;
}

std::optional<std::chrono::seconds> ProgramArguments::Seconds(std::string_view name,
                                                              std::chrono::seconds most) const {
    const auto text = Value(name);
    if (!text) {
        return {};
    }
    unsigned number = 0;
    const auto* const end = text->data() + text->size();
    const auto [read, error] = std::from_chars(text->data(), end, number);
    if (error != std::errc() || read != end || number > most.count()) {
        throw WrongUsage("--" + std::string(name) + " takes a whole number of seconds, " +
                         std::to_string(most.count()) + " at most, not '" + *text + "'");
    }
    return std::chrono::seconds(number);
}

ProgramArguments ParseArguments(const Program& program, const std::vector<std::string>& arguments) {
    const auto options = AllOptions(program);
    CLI::App parser;
    parser.set_help_flag();
    parser.allow_extras();
    // By themselves: looking one up by its name ends the program when there is no memory.
    std::vector<CLI::Option*> parserOptions;
    for (const auto& option : options) {
        const auto names =
            (option.Letter != 0 ? std::string{'-', option.Letter, ','} : std::string()) + option.Dashed();
        if (option.Argument.empty()) {
            parserOptions.push_back(parser.add_flag(names));
        } else {
            // No argument is expected where the next word is an option; the program says what it misses.
            parserOptions.push_back(parser.add_option(names)->expected(0, 1)->take_last());
        }
    }
    ProgramArguments parsed;
    try {
        parser.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::ParseError& error) {
        VerifyAssignments(options, arguments);
        throw WrongUsage(error.what());
    }
    for (std::size_t i = 0; i < options.size(); ++i) {
        if (const auto& found = *parserOptions[i]; found.count() != 0) {
            parsed.m_values.emplace(options[i].Name,
                                    options[i].Argument.empty() ? std::string() : found.results().back());
        }
    }
    if (parsed.Has(ProgramOption::kHelp) || parsed.Has(ProgramOption::kVersion)) {
        return parsed;
    }
    VerifyAssignments(options, arguments);
    for (const auto& option : options) {
        if (!option.Argument.empty() && parsed.Value(option.Name) == "") {
            throw WrongUsage(NeedsArgument(option));
        }
    }
    parsed.m_words = WordsOf(program, parser.remaining());
    VerifyExclusive(options, parsed);
    return parsed;
}

std::string HelpText(const Program& program) {
    std::string text;
    for (const auto& synopsis : program.Synopses) {
        text += text.empty() ? "Usage: " : "       ";
        text += std::string(program.Name) + " " + std::string(synopsis) + "\n";
    }
    text += "\n";
    AppendWrapped(text, program.Summary, 0);
    text += "\nOptions:\n";
    const auto options = AllOptions(program);
    // Long names are in one column, whether or not a letter stands before them.
    const auto syntax = [](const ProgramOption& option) {
        return (option.Letter != 0 ? "  " : "      ") + OptionSyntax(option);
    };
    std::size_t width = 0;
    for (const auto& option : options) {
        width = option.Help.empty() ? width : std::max(width, syntax(option).size() + 2);
    }
    for (const auto& option : options) {
        if (!option.Help.empty()) {
            auto line = syntax(option);
            line.resize(width, ' ');
            text += line;
            AppendWrapped(text, option.Help, width);
        }
    }
    return text + "\n" + std::string(program.Notes);
}

int RunProgram(const Program& program, int argc, const char* const* argv,
               const std::function<int(const ProgramArguments&)>& run) {
    const std::string name(program.Name);
    try {
        SecureStandardDescriptors();
        const auto arguments = ParseArguments(program, {argv + 1, argv + argc});
        if (arguments.Has(ProgramOption::kHelp)) {
            return WriteStandardOutput(name, HelpText(program)) ? 0 : 1;
        }
        if (arguments.Has(ProgramOption::kVersion)) {
            return WriteStandardOutput(name, name + " " KELVANE_VERSION + std::string(kCommit) + "\n") ? 0
                                                                                                       : 1;
        }
        if (const auto shell = arguments.Value(ProgramOption::kCompletion)) {
            return WriteStandardOutput(name, CompletionScript(program, *shell)) ? 0 : 1;
        }
        return run(arguments);
    } catch (const WrongUsage& wrong) {
        WriteStandardError({name, ": ", wrong.what(), "; see '", name, " --help'"});
        return kWrongUsageStatus;
    } catch (...) {
        WriteStandardError({name, ": ", CurrentException().what()});
        return 1;
    }
}

}  // namespace platform
