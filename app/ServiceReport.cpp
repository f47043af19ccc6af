#include "app/ServiceReport.h"

#include <memory>
#include <string>
#include <utility>

#include "app/TextOutput.h"
#include "pages/ServiceMessage.h"
#include "platform/core/StandardError.h"
#include "platform/core/Text.h"
#include "platform/tasks/task.h"
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
    // On the user-interface thread only.
    struct Wait {
        bool Ended = false;
        bool HasRecords = false;
        std::function<void(bool)> Done;
        void End(bool answered) {
            if (!std::exchange(Ended, true)) {
                Done(answered);
            }
        }
    };
    const auto wait = std::make_shared<Wait>();
    wait->Done = std::move(done);
    platform::Application::WhenIdle([wait, &loop] {
        wait->HasRecords = true;
        MainViewModel::GetInstance()->DetailsRead().then(
            [wait, &loop](const platform::task<void>&) { loop.Post([wait] { wait->End(true); }); });
    });
    loop.PostAfter(kPatience, [wait, limit] {
        if (!wait->Ended) {
            const auto most = limit == 0s ? "" : ", at most " + std::to_string(limit.count()) + " s";
            platform::WriteStandardError(
                {"kelvane: waiting for the system service to answer", most, " (see --timeout)"});
        }
    });
    if (limit != 0s) {
        loop.PostAfter(limit, [wait] {
            if (!wait->Ended && !wait->HasRecords) {
                Say({}, {.Status = kNoAnswer});
            }
            wait->End(wait->HasRecords);
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
    const auto details = viewModel->DetailsProblem();
    if (details && details->Status != kNoInterface) {
        Say(PackageTexts().Lookup(u"DetailsMissing/Text"), *details);
        return false;
    }
    return true;
}

}  // namespace Kelvane
