#include "app/ServiceReport.h"

#include <memory>
#include <string>
#include <utility>

#include "app/TextOutput.h"
#include "pages/ServiceMessage.h"
#include "platform/core/EnterLayer.h"
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

/// The message as one line.
void Say(const ServiceMessage& message) {
    platform::WriteStandardError({"kelvane: ", platform::ToUtf8(message.Title + u" " + message.Message)});
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
        MainViewModel::GetInstance()->DetailsRead().then([wait, &loop](const platform::task<void>&) {
            platform::EnterLayer([&] { loop.Post([wait] { wait->End(true); }); });
        });
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
                Say(MessageOf({.Status = kNoAnswer}, PackageTexts()));
            }
            wait->End(wait->HasRecords);
        });
    }
}

bool ReportMissingData() {
    const auto viewModel = MainViewModel::GetInstance();
    if (const auto missing = MessageOfMissingRecord(HasSystemInformation(), PackageTexts())) {
        Say(*missing);
        return false;
    }
    const auto details = viewModel->DetailsProblem();
    if (details && details->Status != kNoInterface) {
        auto message = MessageOf(*details, PackageTexts());
        message.Title = PackageTexts().Lookup(u"DetailsMissing/Text") + u" " + message.Title;
        Say(message);
        return false;
    }
    return true;
}

}  // namespace Kelvane
