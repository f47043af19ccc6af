#include "backends/desktop/Locale.h"

#include <glib.h>
#include <sys/utsname.h>

#include <algorithm>
#include <clocale>
#include <iterator>

#include "platform/core/Text.h"

namespace desktop {

namespace {

bool IsPlain(std::string_view locale) {
    return locale == "C" || locale == "POSIX" || locale.starts_with("C.");
}

}  // namespace

void InitializeLocale() {
    std::setlocale(LC_ALL, "");
    std::setlocale(LC_NUMERIC, "C");
}

std::string UserLocale() {
    const char* const set = std::setlocale(LC_MESSAGES, nullptr);
    if (set != nullptr && !IsPlain(set)) {
        return set;
    }
    for (const char* const variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (const char* const value = g_getenv(variable); value != nullptr && *value != '\0') {
            return value;
        }
    }
    return "C";
}

std::string LanguageTag(std::string_view locale) {
    std::string_view modifier;
    if (const auto at = locale.find('@'); at != std::string_view::npos) {
        modifier = locale.substr(at + 1);
        locale = locale.substr(0, at);
    }
    locale = locale.substr(0, locale.find('.'));
    if (IsPlain(locale) || locale.empty()) {
        return "en-US";
    }
    std::string tag(locale);
    std::replace(tag.begin(), tag.end(), '_', '-');
    const auto language = std::min(tag.find('-'), tag.size());
    if (modifier == "latin") {
        tag.insert(language, "-Latn");
    } else if (modifier == "cyrillic") {
        tag.insert(language, "-Cyrl");
    }
    return tag;
}

std::vector<std::u16string> UserLanguages() {
    std::vector<std::u16string> languages;
    for (const char* const* name = g_get_language_names(); *name != nullptr; ++name) {
        if (IsPlain(*name)) {
            continue;
        }
        auto tag = platform::FromUtf8(LanguageTag(*name));
        if (std::find(languages.begin(), languages.end(), tag) == languages.end()) {
            languages.push_back(std::move(tag));
        }
    }
    if (languages.empty()) {
        languages.push_back(platform::FromUtf8(LanguageTag("C")));
    }
    return languages;
}

platform::ProcessorArchitecture MachineArchitecture() {
    using platform::ProcessorArchitecture;
    struct Machine {
        std::string_view prefix;
        ProcessorArchitecture architecture;
    };
    constexpr Machine kMachines[] = {
        {"x86_64", ProcessorArchitecture::X64}, {"aarch64", ProcessorArchitecture::Arm64},
        {"arm", ProcessorArchitecture::Arm},    {"i386", ProcessorArchitecture::X86},
        {"i486", ProcessorArchitecture::X86},   {"i586", ProcessorArchitecture::X86},
        {"i686", ProcessorArchitecture::X86},
    };
    utsname names{};
    if (uname(&names) != 0) {
        return ProcessorArchitecture::Unknown;
    }
    const std::string_view machine = names.machine;
    const auto* const found =
        std::find_if(std::begin(kMachines), std::end(kMachines),
                     [machine](const Machine& each) { return machine.starts_with(each.prefix); });
    return found == std::end(kMachines) ? ProcessorArchitecture::Unknown : found->architecture;
}

}  // namespace desktop
