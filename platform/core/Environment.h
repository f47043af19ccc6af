#pragma once

#include <string>
#include <vector>

#include "platform/core/World.h"

namespace platform {

// What the environment and the machine say of the user, the same in every world. Any thread, as long as none
// changes the environment.

/// The locale for messages by the rules of POSIX: LC_ALL, LC_MESSAGES, LANG; "C" when none is set.
std::string LocaleNameFromEnvironment();

/// The display languages as BCP 47 tags: GNU's LANGUAGE list, then the locale; "en-US" when there is none.
std::vector<std::u16string> LanguagesFromEnvironment();

/// The running kernel's architecture.
ProcessorArchitecture MachineArchitecture();

}  // namespace platform
