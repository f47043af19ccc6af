#include "app/ServiceReport.h"

#include <memory>
#include <string>
#include <utility>

#include "app/TextOutput.h"
#include "pages/ServiceMessage.h"
#include "platform/core/StandardError.h"
#include "platform/core/Text.h"
#include "platform/world/Application.h"
#include "viewmodel/MainViewModel.h"

namespace Kelvane {

namespace {

using namespace std::chrono_literals;

/// How long the service may take before the user is told.
constexpr auto kPatience = 2s;

/// The problem as one line. `context` comes first, unless it is empty.
void Say(const std::u16string& context, const ServiceProblem& problem) {
    const auto [title, message] = MessageOf(problem, PackageTexts());
    const auto text = context + (context.empty() ? u"" : u" ") + title + u" " + message;
    platform::WriteStandardError({"kelvane: ", platform::ToUtf8(text)});
}

}  // namespace

void WhenServiceAnswered(platform::EventLoop& loop, std::chrono::seconds limit,
                         std::function<void(bool answered)> done) {
    const auto waiting = std::make_shared<bool>(true);
    platform::Application::WhenIdle([waiting, done] {
        if (std::exchange(*waiting, false)) {
            done(true);
        }
    });
    loop.PostAfter(kPatience, [waiting, limit] {
        if (*waiting) {
            const auto most = limit == 0s ? "" : ", at most " + std::to_string(limit.count()) + " s";
            platform::WriteStandardError(
                {"kelvane: waiting for the system service to answer", most, " (see --timeout)"});
        }
    });
    if (limit != 0s) {
        loop.PostAfter(limit, [waiting, done = std::move(done)] {
            if (std::exchange(*waiting, false)) {
                Say({}, {.Status = kNoAnswer});
                done(false);
            }
        });
    }
}

bool ReportMissingData() {
    const auto viewModel = MainViewModel::GetInstance();
    auto problem = viewModel->SysInfoProblem();
    if (!problem && !HasSystemInformation()) {
        problem = ServiceProblem{.Status = viewModel->IsSysInfoReadCompleted() ? kRecordUnusable : -1};
    }
    if (problem) {
        Say({}, *problem);
        return false;
    }
    if (const auto usbTypeC = viewModel->UsbTypeCInfoProblem()) {
        Say(PackageTexts().Lookup(u"UsbTypeCMissing/Text"), *usbTypeC);
        return false;
    }
    return true;
}

}  // namespace Kelvane
