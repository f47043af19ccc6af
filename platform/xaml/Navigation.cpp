#include "platform/xaml/Navigation.h"

#include "platform/core/Exception.h"
#include "platform/core/Lifetime.h"
#include "platform/core/Provided.h"
#include "platform/xaml/TypeRegistry.h"
#include "platform/xaml/Window.h"

namespace platform {

void Page::OnNavigatedTo(const NavigationEventArgs&) {}

void Frame::Navigate(std::u16string_view pageType, std::u16string parameter,
                     SuppressNavigationTransitionInfo) {
    VerifyUserInterfaceThread();
    Entry entry{.pageType = std::u16string(pageType), .parameter = std::move(parameter)};
    auto page = CreatePage(entry);
    if (!page) {
        return;
    }
    Prepare(*page, entry);
    if (m_current) {
        m_backStack.push_back(std::move(*m_current));
    }
    m_current = std::move(entry);
    Content(std::move(page));
}

void Frame::GoBack() {
    VerifyUserInterfaceThread();
    if (m_backStack.empty()) {
        throw Exception(result::kFail, u"There is no earlier page to go back to.");
    }
    auto page = CreatePage(m_backStack.back());
    if (!page) {
        return;
    }
    Prepare(*page, m_backStack.back());
    m_current = std::move(m_backStack.back());
    m_backStack.pop_back();
    Content(std::move(page));
}

std::shared_ptr<Page> Frame::CreatePage(const Entry& entry) {
    try {
        auto page = std::dynamic_pointer_cast<Page>(ActivateType(entry.pageType));
        if (!page) {
            throw Exception(result::kNoInterface, entry.pageType + u" is not a page.");
        }
        return page;
    } catch (...) {
        const auto failure = CurrentException();
        try {
            if (!m_navigationFailed.HasHandlers()) {
                throw Exception(failure.Code(), u"Failed to load Page " + entry.pageType);
            }
            m_navigationFailed.Raise(
                *this, {.SourcePageType = entry.pageType, .Exception = std::current_exception()});
            return nullptr;
        } catch (...) {
            const auto unhandled = CurrentException();
            Provided<Lifetime>::Current().Fail(
                Exception(unhandled.Code(), unhandled.Message() + u": " + failure.Message()));
            throw;
        }
    }
}

void Frame::Prepare(Page& page, const Entry& entry) {
    // The page that is left may be the one whose handler navigates: it is destroyed after that handler.
    if (const auto window = CoreWindow::GetForCurrentThread(); window && Content()) {
        window->Dispatcher()->RunAsync(CoreDispatcherPriority::Normal, [left = Content()] {});
    }
    page.OnNavigatedTo({.Parameter = entry.parameter});
}

}  // namespace platform
