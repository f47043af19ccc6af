#pragma once

// What a shell needs to complete a program's command line, made from the program's table of options.

#include <string>
#include <string_view>

#include "platform/core/Program.h"

namespace platform {

/// The script for `shell`: bash (bash-completion's folder), zsh (a function _NAME) or fish. Throws WrongUsage
/// for another one. Any thread.
std::string CompletionScript(const Program& program, std::string_view shell);

}  // namespace platform
