#include "pages/main/SystemInfoRecord.h"

#include <algorithm>
#include <iterator>

namespace Kelvane {

namespace {

constexpr std::u16string_view kUsable = u"usable";

/// As they stand between commas, leading blank included.
constexpr std::u16string_view kGenerations[] = {u" USB 3.2 Gen 1", u" USB 3.2 Gen 2", u" USB 4"};

}  // namespace

std::optional<std::u16string> ReplaceUsable(std::u16string_view field, std::u16string_view localised) {
    const auto found = field.find(kUsable);
    if (found == std::u16string_view::npos) {
        return std::nullopt;
    }
    std::u16string text(field);
    text.replace(found, kUsable.size(), localised);
    return text;
}

std::int32_t ParseStatusCode(std::u16string_view field) {
    return std::stoi(std::wstring(field.begin(), field.end()), nullptr, 0);
}

std::u16string_view BiosCredentialKey(std::int32_t code) {
    if (code >= 16 && code <= 255) {
        return u"BiosCredentialValueVeldra/Text";
    }
    if (code >= 1 && code <= 15) {
        return u"BiosCredentialValuePassword/Text";
    }
    return u"BiosCredentialValueNone/Text";
}

bool OffersUsbTypeCPage(std::u16string_view firstField) {
    while (!firstField.empty()) {
        const auto comma = std::min(firstField.find(u','), firstField.size());
        const auto piece = firstField.substr(0, comma);
        if (std::find(std::begin(kGenerations), std::end(kGenerations), piece) != std::end(kGenerations)) {
            return true;
        }
        firstField.remove_prefix(std::min(comma + 1, firstField.size()));
    }
    return false;
}

}  // namespace Kelvane
