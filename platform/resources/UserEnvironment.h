#pragma once

#include <string>
#include <vector>

namespace platform {

/// The processor architectures, by the platform's numbers.
enum class ProcessorArchitecture { X86 = 0, Arm = 5, X64 = 9, Neutral = 11, Arm64 = 12, Unknown = 65535 };

/// What the resources need of a backend: the user's languages and the machine's architecture. Any thread.
class UserEnvironment {
  public:
    virtual ~UserEnvironment() = default;

    /// The user's locale by the name that POSIX gives it ("en_US.UTF-8", "zh_TW", "C").
    virtual std::string LocaleName() = 0;

    /// The user's display languages as BCP 47 tags, the preferred one first; never empty.
    virtual std::vector<std::u16string> Languages() = 0;

    virtual ProcessorArchitecture Architecture() = 0;
};

// What the environment and the machine say of the user, the same in every world. Any thread, as long as none
// changes the environment.

/// The locale for messages by the rules of POSIX: LC_ALL, LC_MESSAGES, LANG; "C" when none is set.
std::string LocaleNameFromEnvironment();

/// The display languages as BCP 47 tags: GNU's LANGUAGE list, then the locale; "en-US" when there is none.
std::vector<std::u16string> LanguagesFromEnvironment();

/// The running kernel's architecture.
ProcessorArchitecture MachineArchitecture();

}  // namespace platform
