#include "platform/core/UserName.h"

#include <pwd.h>
#include <unistd.h>

#include <array>

#include "platform/core/Text.h"

namespace platform {

std::u16string UserName(uid_t user) {
    passwd entry{};
    passwd* found = nullptr;
    // Longer entries exist in theory; their users are shown by number.
    std::array<char, 16384> texts{};
    if (getpwuid_r(user, &entry, texts.data(), texts.size(), &found) != 0 || found == nullptr) {
        return ToText(user);
    }
    return FromUtf8(entry.pw_name);
}

std::u16string CurrentUserName() {
    return UserName(geteuid());
}

}  // namespace platform
