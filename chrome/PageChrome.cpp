#include "chrome/PageChrome.h"

#include <utility>

namespace Kelvane {

void WrapInTitleBar(platform::Page& page, std::shared_ptr<CustomTitleBar>& titleBar, TitleBarRing ring) {
    platform::CoreApplication::GetCurrentView().TitleBar()->ExtendViewIntoTitleBar(true);
    if (titleBar) {
        return;
    }
    titleBar = std::make_shared<CustomTitleBar>();
    titleBar->EnableControlsInTitleBar(true);
    if (ring == TitleBarRing::Stopped) {
        titleBar->EnableProgressRing(false);
    }
    auto content = page.Content();
    page.Content(nullptr);
    titleBar->SetPageContent(std::move(content));
    page.Content(titleBar);
}

std::shared_ptr<CustomTitleBar> UnwrapFromTitleBar(platform::Page& page,
                                                   std::shared_ptr<CustomTitleBar>& titleBar) {
    auto removed = std::exchange(titleBar, nullptr);
    if (removed) {
        page.Content(removed->SetPageContent(nullptr));
    }
    return removed;
}

void StopRing(const std::shared_ptr<CustomTitleBar>& titleBar) {
    if (titleBar) {
        titleBar->EnableProgressRing(false);
    }
}

void GoBackFrom(const Trace& trace, std::u16string_view castingFailed, const std::function<void()>& unwrap) {
    const auto frame = std::dynamic_pointer_cast<platform::Frame>(platform::Window::Current()->Content());
    if (!frame) {
        trace.Error(castingFailed);
        return;
    }
    if (frame->CanGoBack()) {
        unwrap();
        frame->GoBack();
    }
}

}  // namespace Kelvane
