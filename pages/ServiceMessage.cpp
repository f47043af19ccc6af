#include "pages/ServiceMessage.h"

#include "platform/core/Text.h"

namespace Kelvane {

namespace {

std::u16string FilledFor(std::u16string text, const ServiceProblem& problem) {
    return Filled(std::move(text), {{u"{listener}", problem.Listener},
                                    {u"{user}", problem.User},
                                    {u"{status}", platform::ToText(problem.Status)}});
}

}  // namespace

ServiceMessage MessageOf(const ServiceProblem& problem, const DisplayTexts& texts) {
    const std::u16string key(ResourceKeyOf(problem));
    return {.Title = FilledFor(texts.Lookup(key + u"/Title"), problem),
            .Message = FilledFor(texts.Lookup(key + u"/Message"), problem)};
}

}  // namespace Kelvane
