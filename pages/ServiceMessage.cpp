#include "pages/ServiceMessage.h"

#include <utility>

#include "platform/core/Text.h"

namespace Kelvane {

namespace {

std::u16string Filled(std::u16string text, const ServiceProblem& problem) {
    const std::pair<std::u16string_view, std::u16string> values[] = {
        {u"{listener}", problem.Listener},
        {u"{user}", problem.User},
        {u"{status}", platform::ToText(problem.Status)},
    };
    for (const auto& [name, value] : values) {
        for (auto at = text.find(name); at != std::u16string::npos; at = text.find(name, at + value.size())) {
            text.replace(at, name.size(), value);
        }
    }
    return text;
}

}  // namespace

ServiceMessage MessageOf(const ServiceProblem& problem, const DisplayTexts& texts) {
    const std::u16string key(ResourceKeyOf(problem));
    return {.Title = Filled(texts.Lookup(key + u"/Title"), problem),
            .Message = Filled(texts.Lookup(key + u"/Message"), problem)};
}

}  // namespace Kelvane
