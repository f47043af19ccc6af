#include "pages/Split.h"

namespace Kelvane {

void Split(std::u16string_view text, std::u16string_view delimiter, std::vector<std::u16string>& parts) {
    while (!delimiter.empty()) {
        const auto found = text.find(delimiter);
        if (found == std::u16string_view::npos) {
            break;
        }
        parts.emplace_back(text.substr(0, found));
        text.remove_prefix(found + delimiter.size());
    }
    parts.emplace_back(text);
}

void SplitTraced(const Trace& trace, std::u16string_view text, std::u16string_view delimiter,
                 std::vector<std::u16string>& parts) {
    trace.Verbose(u"Full String : ", text);
    trace.Verbose(u"Delimiter : ", delimiter);
    Split(text, delimiter, parts);
    for (std::size_t i = 0; i < parts.size(); ++i) {
        trace.Verbose(u"SplitString [", i, u"] = ", parts[i]);
    }
}

}  // namespace Kelvane
