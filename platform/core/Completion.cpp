#include "platform/core/Completion.h"

#include <algorithm>

namespace platform {

namespace {

/// One row per shell: what it offers for a list of values, files, folders, and an argument that it cannot
/// know.
struct Offers {
    std::string_view BeforeChoices;
    std::string_view AfterChoices;
    std::string_view Files;
    std::string_view Folders;
    std::string_view Unknown;
};
constexpr Offers kBash{"offer=(-W '", "')", "offer=(-f)", "offer=(-d)", "return"};
constexpr Offers kZsh{"(", ")", "_files", "_files -/", ""};
constexpr Offers kFish{" -x -a '", "'", " -r -F", " -x -a '(__fish_complete_directories)'", " -x"};

std::string Offer(const Offers& shell, const ProgramOption& option) {
    if (!option.Choices.empty()) {
        return std::string(shell.BeforeChoices) + std::string(option.Choices) +
               std::string(shell.AfterChoices);
    }
    return std::string(option.Argument == "FILE"  ? shell.Files
                       : option.Argument == "DIR" ? shell.Folders
                                                  : shell.Unknown);
}

std::string Short(const ProgramOption& option) {
    return option.Letter != 0 ? std::string{'-', option.Letter} : std::string();
}

/// Each of `special` behind a backslash.
std::string Escaped(std::string_view text, std::string_view special) {
    std::string escaped;
    for (const char character : text) {
        escaped += special.find(character) != special.npos ? "\\" : "";
        escaped += character;
    }
    return escaped;
}

std::vector<ProgramOption> ShownOptions(const Program& program) {
    auto options = AllOptions(program);
    std::erase_if(options, [](const ProgramOption& option) { return option.Help.empty(); });
    return options;
}

std::string BashScript(const Program& program) {
    std::string names;
    std::string cases;
    for (const auto& option : ShownOptions(program)) {
        const auto both = (option.Letter != 0 ? Short(option) + "|" : "") + option.Dashed();
        names += (names.empty() ? "" : " ") + option.Dashed();
        if (!option.Argument.empty()) {
            cases += "        " + both + ") " + Offer(kBash, option) + " ;;\n";
        }
    }
    auto function = "_" + std::string(program.Name);
    std::replace(function.begin(), function.end(), '-', '_');
    return function + R"(() {
    local word=${COMP_WORDS[COMP_CWORD]} option=${COMP_WORDS[COMP_CWORD - 1]} offer
    # "--name=X" is three words.
    [[ $word != = ]] || word=
    [[ $option != = ]] || option=${COMP_WORDS[COMP_CWORD - 2]}
    case $option in
)" + cases +
           R"(        *)
            case $word in
                -*) offer=(-W ')" +
           names + R"(') ;;
                *) )" +
           std::string(program.WordsAreFiles ? kBash.Files : kBash.Unknown) + R"( ;;
            esac
            ;;
    esac
    [[ ${offer[0]} == -W ]] || compopt -o filenames
    mapfile -t COMPREPLY < <(compgen "${offer[@]}" -- "$word")
}
complete -F )" +
           function + " " + std::string(program.Name) + "\n";
}

std::string ZshScript(const Program& program) {
    auto script = "#compdef " + std::string(program.Name) + "\n_arguments -s -S";
    for (const auto& option : ShownOptions(program)) {
        const bool takes = !option.Argument.empty();
        const auto name = option.Dashed() + (takes ? "=" : "");
        script += " \\\n    ";
        script += option.Letter != 0 ? "'(" + Short(option) + " " + option.Dashed() + ")'{" + Short(option) +
                                           (takes ? "+" : "") + "," + name + "}'"
                                     : "'" + name;
        auto help = Escaped(option.Help, "[]:\\");
        for (auto at = help.find('\''); at != help.npos; at = help.find('\'', at + 4)) {
            help.replace(at, 1, "'\\''");
        }
        script += "[" + help + "]";
        if (takes) {
            script += ":" + std::string(option.Argument) + ":" + Offer(kZsh, option);
        }
        script += "'";
    }
    if (program.TakesWords) {
        // An empty list of values: beside a word that is unknown zsh shows options without inserting one.
        script += " \\\n    '*:word:" + std::string(program.WordsAreFiles ? kZsh.Files : "()") + "'";
    }
    return script + "\n";
}

std::string FishScript(const Program& program) {
    const auto begin = "complete -c " + std::string(program.Name);
    auto script = program.WordsAreFiles ? std::string() : begin + " -f\n";
    for (const auto& option : ShownOptions(program)) {
        script += begin + " -l " + std::string(option.Name) +
                  (option.Letter != 0 ? std::string(" -s ") + option.Letter : "") +
                  (option.Argument.empty() ? "" : Offer(kFish, option)) + " -d '" +
                  Escaped(option.Help, "'\\") + "'\n";
    }
    return script;
}

}  // namespace

std::string CompletionScript(const Program& program, std::string_view shell) {
    if (shell == "bash") {
        return BashScript(program);
    }
    if (shell == "zsh") {
        return ZshScript(program);
    }
    if (shell == "fish") {
        return FishScript(program);
    }
    throw WrongUsage("unknown shell '" + std::string(shell) + "'; known are bash, zsh and fish");
}

}  // namespace platform
