#include "pages/Split.h"

namespace Kelvane {

namespace {

std::vector<std::u16string> Pieces(std::u16string_view text, std::u16string_view delimiter) {
    std::vector<std::u16string> pieces;
    while (!delimiter.empty()) {
        const auto found = text.find(delimiter);
        if (found == std::u16string_view::npos) {
            break;
        }
        pieces.emplace_back(text.substr(0, found));
        text.remove_prefix(found + delimiter.size());
    }
    pieces.emplace_back(text);
    return pieces;
}

}  // namespace

std::vector<std::u16string> Split(std::u16string_view text, std::u16string_view delimiter, MethodName name,
                                  TraceLines& lines) {
    return TracedInto(lines, name, [&](const LineTrace& trace) {
        using enum platform::LoggingLevel;
        trace.Add(Verbose, u"Full String : ", text);
        trace.Add(Verbose, u"Delimiter : ", delimiter);
        auto pieces = Pieces(text, delimiter);
        for (std::size_t i = 0; i < pieces.size(); ++i) {
            trace.Add(Verbose, u"SplitString [", i, u"] = ", pieces[i]);
        }
        return pieces;
    });
}

}  // namespace Kelvane
