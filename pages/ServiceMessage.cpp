#include "pages/ServiceMessage.h"

#include "platform/core/Text.h"
#include "viewmodel/MainViewModel.h"

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

std::optional<ServiceMessage> MessageOfMissingRecord(bool hasValues, const DisplayTexts& texts) {
    const auto viewModel = MainViewModel::GetInstance();
    auto problem = viewModel->SysInfoProblem();
    if (!problem && !hasValues) {
        problem = ServiceProblem{.Status = viewModel->IsSysInfoReadCompleted() ? kRecordUnusable : -1};
    }
    if (problem) {
        return MessageOf(*problem, texts);
    }
    if (const auto usbTypeC = viewModel->UsbTypeCInfoProblem()) {
        auto message = MessageOf(*usbTypeC, texts);
        message.Title = texts.Lookup(u"UsbTypeCMissing/Text") + u" " + message.Title;
        return message;
    }
    return std::nullopt;
}

}  // namespace Kelvane
