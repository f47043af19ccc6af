#include "platform/core/Uri.h"

namespace platform {

namespace {

bool IsLetter(char16_t c) {
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

bool IsSchemeCharacter(char16_t c) {
    return IsLetter(c) || (c >= u'0' && c <= u'9') || c == u'+' || c == u'-' || c == u'.';
}

}  // namespace

std::optional<Uri> Uri::Parse(std::u16string_view text) {
    const auto colon = text.find(u':');
    if (colon == std::u16string_view::npos || colon == 0 || !IsLetter(text[0])) {
        return std::nullopt;
    }
    Uri uri;
    for (const char16_t c : text.substr(0, colon)) {
        if (!IsSchemeCharacter(c)) {
            return std::nullopt;
        }
        uri.m_scheme += c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c - u'A' + u'a') : c;
    }
    const auto rest = text.substr(0, text.find(u'#'));
    if (const auto query = rest.find(u'?'); query != std::u16string_view::npos) {
        uri.m_query = rest.substr(query);
    }
    return uri;
}

}  // namespace platform
