#pragma once

#include "platform/xaml/ContentControl.h"

namespace platform {

/// What a page is handed when it is navigated to.
struct NavigationEventArgs {
    /// The boxed text given to Navigate; empty for none.
    std::u16string Parameter;
};

/// What a frame reports when a page could not be loaded.
struct NavigationFailedEventArgs {
    /// Full name of the page's type ("Kelvane.MainPage").
    std::u16string SourcePageType;
    std::exception_ptr Exception;
};

/// How the change of pages looks; suppressing is the only way here.
struct SuppressNavigationTransitionInfo {};

/// What a frame shows.
class Page : public UserControl {
  protected:
    friend class Frame;

    /// The page is about to be shown; the frame's history does not have it yet. An exception reaches the
    /// caller of the navigation, and the frame stays as it is.
    virtual void OnNavigatedTo(const NavigationEventArgs& args);
};

/// Shows one page at a time, by type name, and remembers the way back.
class Frame : public ContentControl {
  public:
    /// Creates the page with the type registry and shows it. When it cannot be created, NavigationFailed is
    /// raised. Without a handler, or when a handler throws, the application fails (Lifetime::Fail) and the
    /// exception is thrown on; the frame stays as it is.
    void Navigate(std::u16string_view pageType, std::u16string parameter = {},
                  SuppressNavigationTransitionInfo transition = {});

    bool CanGoBack() const { return !m_backStack.empty(); }

    /// Creates the earlier page again, with the parameter that it was first given; refused when there is
    /// none. Fails as Navigate does.
    void GoBack();

    /// Drops the earlier page that GoBack would show, if there is one.
    void RemoveLastFromBackStack() {
        VerifyUserInterfaceThread();
        if (!m_backStack.empty()) {
            m_backStack.pop_back();
        }
    }

    Event<UIElement&, const NavigationFailedEventArgs&>& NavigationFailed() { return m_navigationFailed; }

  private:
    struct Entry {
        std::u16string pageType;
        std::u16string parameter;
    };

    std::shared_ptr<Page> CreatePage(const Entry& entry);

    /// Calls the page's OnNavigatedTo. It may refuse with an exception, so frame and history
    /// change afterwards only.
    void Prepare(Page& page, const Entry& entry);

    Event<UIElement&, const NavigationFailedEventArgs&> m_navigationFailed;
    std::vector<Entry> m_backStack;
    std::optional<Entry> m_current;
};

}  // namespace platform
