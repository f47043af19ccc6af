#include "platform/resources/UserEnvironment.h"

#include <sys/utsname.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <sstream>
#include <string_view>

#include "platform/core/Text.h"

namespace platform {

namespace {

std::string_view Variable(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

bool IsPlain(std::string_view locale) {
    return locale.empty() || locale == "C" || locale == "POSIX";
}

/// language[_territory][.codeset][@modifier] as a tag: without codeset and modifier, with "-".
std::u16string TagOf(std::string_view locale) {
    std::string tag(locale.substr(0, locale.find_first_of(".@")));
    std::replace(tag.begin(), tag.end(), '_', '-');
    return FromUtf8(tag);
}

struct NamedArchitecture {
    std::string_view machine;
    ProcessorArchitecture architecture;
};

constexpr NamedArchitecture kArchitectures[] = {
    {"x86_64", ProcessorArchitecture::X64}, {"aarch64", ProcessorArchitecture::Arm64},
    {"i386", ProcessorArchitecture::X86},   {"i686", ProcessorArchitecture::X86},
    {"armv7l", ProcessorArchitecture::Arm}, {"armv6l", ProcessorArchitecture::Arm},
};

}  // namespace

std::string LocaleNameFromEnvironment() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (const auto value = Variable(name); !value.empty()) {
            return std::string(value);
        }
    }
    return "C";
}

std::vector<std::u16string> LanguagesFromEnvironment() {
    std::vector<std::u16string> languages;
    const auto locale = LocaleNameFromEnvironment();
    const std::string_view withoutCodeset = std::string_view(locale).substr(0, locale.find('.'));
    // LANGUAGE counts only where messages are translated at all.
    if (!IsPlain(withoutCodeset)) {
        std::istringstream list{std::string(Variable("LANGUAGE"))};
        for (std::string each; std::getline(list, each, ':');) {
            if (!each.empty()) {
                languages.push_back(TagOf(each));
            }
        }
        languages.push_back(TagOf(locale));
    }
    if (languages.empty()) {
        languages.emplace_back(u"en-US");
    }
    return languages;
}

ProcessorArchitecture MachineArchitecture() {
    utsname names{};
    uname(&names);
    const auto* const found =
        std::find_if(std::begin(kArchitectures), std::end(kArchitectures),
                     [&](const NamedArchitecture& each) { return each.machine == names.machine; });
    return found != std::end(kArchitectures) ? found->architecture : ProcessorArchitecture::Unknown;
}

}  // namespace platform
