#pragma once

#include <sys/types.h>

#include <string>

namespace platform {

/// The name of a user; the number where the machine knows no name. Any thread; blocks while a directory
/// service answers.
std::u16string UserName(uid_t user);

/// The name of the user that the program runs as.
std::u16string CurrentUserName();

}  // namespace platform
