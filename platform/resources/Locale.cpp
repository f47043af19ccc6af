#include "platform/resources/Locale.h"

#include <algorithm>

#include <string>
#include <string_view>

#include "platform/core/Provided.h"
#include "platform/core/Text.h"
#include "platform/resources/UserEnvironment.h"

namespace platform {

namespace {

thread_local std::uint32_t t_lastError = 0;

int Fail(std::uint32_t error) {
    t_lastError = error;
    return 0;
}

/// A POSIX locale name (language[_territory][.codeset][@modifier]) without its last two parts; the locale
/// without a country of its own speaks American English.
std::string UserLocale() {
    std::string name = Provided<UserEnvironment>::Current().LocaleName();
    name.resize(std::min(name.find_first_of(".@"), name.size()));
    return name.empty() || name == "C" || name == "POSIX" ? "en_US" : name;
}

}  // namespace

int GetLocaleInfoW(std::uint32_t locale, std::uint32_t type, char16_t* buffer, int size) {
    if (locale != LOCALE_USER_DEFAULT || buffer == nullptr) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    const std::string name = UserLocale();
    const auto separator = std::min(name.find('_'), name.size());
    std::u16string text;
    if (type == LOCALE_SISO639LANGNAME) {
        text = FromUtf8(name.substr(0, separator));
    } else if (type == LOCALE_SISO3166CTRYNAME) {
        text = FromUtf8(std::string_view(name).substr(std::min(separator + 1, name.size())));
    } else {
        return Fail(ERROR_INVALID_FLAGS);
    }
    if (!CopyText(buffer, size, text.c_str())) {
        return Fail(ERROR_INSUFFICIENT_BUFFER);
    }
    return static_cast<int>(text.size()) + 1;
}

std::uint32_t GetLastError() {
    return t_lastError;
}

}  // namespace platform
