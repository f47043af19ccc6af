#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/core/World.h"

namespace desktop {

/// Takes over the user's locale settings; numbers keep their plain form. Once, before the toolkit starts.
void InitializeLocale();

/// The user's locale for messages ("en_US.UTF-8", "C"). A locale that is not installed on this machine
/// counts.
std::string UserLocale();

/// The user's display languages as BCP 47 tags, the preferred one first; never empty.
std::vector<std::u16string> UserLanguages();

/// The BCP 47 tag of a POSIX locale name: "sr_RS.UTF-8@latin" is "sr-Latn-RS", "C" is "en-US".
std::string LanguageTag(std::string_view locale);

platform::ProcessorArchitecture MachineArchitecture();

}  // namespace desktop
